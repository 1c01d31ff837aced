// SPDX-License-Identifier: MIT
// Descriptions of wires, such as "port:0/1".
#pragma once

#include "base/Text.h"

#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>

namespace orvo::sim {

/// A wire that cannot be made; what() is one sentence for the user.
struct WireError : std::runtime_error {
    explicit WireError(const std::string& sentence) : std::runtime_error(oneLine(sentence)) {}
};

struct PortPlace {
    unsigned board = 0;
    unsigned port = 0;
    auto operator<=>(const PortPlace&) const = default; // NOLINT(modernize-use-nullptr): there is none
};

std::string toText(PortPlace place); ///< "BOARD/PORT"

struct WireSpec {
    enum class Kind { None, Loopback, Port, Capture, Tap, Packet };

    Kind kind = Kind::Loopback;
    PortPlace far = {};                ///< the other end of a cable
    std::filesystem::path input = {};  ///< of a capture: the file that is played towards the port
    std::filesystem::path output = {}; ///< of a capture: the file that records the port; may be empty
    std::string interface = {};        ///< of a TAP or packet wire

    std::string text() const; ///< as parseWire takes it
};

/// Parses the text of a wire; relative paths start at `directory` (empty: they stay relative). Throws
/// WireError. Does not look at files, interfaces or boards.
WireSpec parseWire(std::string_view wire, const std::filesystem::path& directory = {});

} // namespace orvo::sim
