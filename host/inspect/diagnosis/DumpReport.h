// SPDX-License-Identifier: MIT
// The plug-in's diagnostic report, read back from its log lines.
#pragma once

#include "device/CounterTable.h"

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace orvo::host {

/// One reading of the firmware's registers, without those that the firmware lacks.
using FirmwareSnapshot = std::map<Counter, std::uint64_t>;

constexpr std::size_t dumpedPhyRegisters = 29; // 0 to 28

struct DumpReport {
    struct Device {
        unsigned index;
        std::uint64_t serial; ///< 0: unknown, the plug-in skipped the device
    };

    std::uint64_t boardIndex = 0;
    std::uint64_t serial = 0;
    std::uint64_t type = 0;
    std::string name;
    std::int64_t deviceCount = 0;
    std::vector<Device> devices;
    FirmwareSnapshot first;
    FirmwareSnapshot second; ///< one second later
    std::array<std::uint16_t, dumpedPhyRegisters> phy{};

    /// Parses the messages of one report about the interface `interfaceId`, as they were logged. Errors:
    /// Failure when the report is incomplete.
    static DumpReport parse(const std::vector<std::string>& messages, const std::string& interfaceId);
};

} // namespace orvo::host
