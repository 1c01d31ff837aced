// SPDX-License-Identifier: MIT
// The content of the configuration file: boards, firmware versions and wires.
#pragma once

#include "base/Text.h"
#include "firmware/FirmwareProfile.h"
#include "wire/WireSpec.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace orvo::sim {

inline constexpr unsigned maxBoards = 32;

/// A file that cannot be used; what() is "FILE:LINE: REASON", or "FILE: REASON" for the file as a whole.
struct ConfigurationError : std::runtime_error {
    ConfigurationError(const std::filesystem::path& file, unsigned line, const std::string& reason)
        : std::runtime_error(oneLine(file.string() + ":" + std::to_string(line) + ": " + reason)) {}
    ConfigurationError(const std::filesystem::path& file, const std::string& reason)
        : std::runtime_error(oneLine(file.string() + ": " + reason)) {}
};

struct BoardConfiguration {
    unsigned index = 0;
    std::uint32_t serial = 0;
    std::uint16_t type = 0x0A40;
    std::string name = "Simulated GigE board";
    std::string cameraInterface = "GigE";
    FirmwareVersion firmware;
    const FirmwareProfile* profile = nullptr; ///< of that version, among the Configuration's
    unsigned ports = maxPorts;
    bool cold = false; ///< just powered up, without an applet in its FPGA
    std::size_t receiveQueueWords = 262'144;
    std::size_t actionQueueWords = 1'024;
    bool hasLineRate = false; ///< frames take their time on the wire
    std::uint32_t phyResetMs = 50;
    std::uint32_t negotiationMs = 400;
};

/// One wire to plug in; a cable stands here once, for both its ends.
struct WireConfiguration {
    PortPlace place;
    WireSpec wire;
    unsigned line = 1; ///< where the file asks for it
};

struct Configuration {
    std::filesystem::path file;                              ///< empty: no file, the default board
    std::vector<BoardConfiguration> boards;                  ///< by index
    std::vector<WireConfiguration> wires;                    ///< one for every port, or for its far end
    std::vector<std::unique_ptr<FirmwareProfile>> firmwares; ///< of every version that a board has
};

/// Completes the wires that a file asks for: a cable may be named at one of its ends or at both and stands in
/// the result once; a port that no wire names gets a loopback plug. Throws ConfigurationError for a cable to
/// a port that does not exist, and for a port that two wires claim.
std::vector<WireConfiguration> planCables(const std::vector<BoardConfiguration>& boards,
                                          std::vector<WireConfiguration> wanted,
                                          const std::filesystem::path& file);

/// The default board, all ports on loopback.
Configuration defaultConfiguration();

/// The configuration that a TOML text describes. `file` is where it comes from, for messages and relative
/// paths. Looks at no other file. Throws ConfigurationError.
Configuration parseConfiguration(std::string_view text, const std::filesystem::path& file);

/// The same from the file itself.
Configuration loadConfiguration(const std::filesystem::path& file);

} // namespace orvo::sim
