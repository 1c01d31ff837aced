// SPDX-License-Identifier: MIT
// Which registers the firmware of one version has.
#pragma once

#include "firmware/RegisterTable.h"

#include <orvo/sim/orvo_sim.h>

#include <array>
#include <string>
#include <string_view>
#include <vector>

namespace orvo::sim {

struct FirmwareVersion {
    std::uint32_t major = 1;
    std::uint32_t minor = 0;
    bool operator==(const FirmwareVersion&) const = default;
};

/// Built while the configuration is read, constant from then on.
class FirmwareProfile {
public:
    /// A firmware with all registers.
    explicit FirmwareProfile(FirmwareVersion version);
    FirmwareProfile(const FirmwareProfile&) = delete;
    FirmwareProfile& operator=(const FirmwareProfile&) = delete;

    /// Removes a register: one by its full name, or those of all ports by their base name. False when no
    /// register has that name.
    bool remove(std::string_view name);

    FirmwareVersion version() const noexcept { return {map_.major, map_.minor}; }
    /// The register's address, 0 when this firmware lacks it.
    std::uint32_t addressOf(std::string_view name) const noexcept;
    /// The register bits (see registerBit) of a port, and of the board.
    std::uint32_t portRegisters(unsigned port) const noexcept { return portRegisters_[port]; }
    std::uint32_t boardRegisters() const noexcept { return boardRegisters_; }
    /// The registers as C structures; valid as long as the profile.
    const OrvoSimRegisterMap& map() const noexcept { return map_; }

private:
    void makeMap();

    struct Entry {
        std::string name;
        std::uint32_t address;
        bool isThere = true;
    };
    std::vector<Entry> entries_;             // all that a firmware can have
    std::vector<OrvoSimRegister> registers_; // those that this one has; their names are the entries'
    OrvoSimRegisterMap map_;
    std::array<std::uint32_t, maxPorts> portRegisters_{};
    std::uint32_t boardRegisters_ = 0;
};

} // namespace orvo::sim
