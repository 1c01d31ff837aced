// SPDX-License-Identifier: MIT
// The plug-in's diagnostic report, read back from its log lines.
#pragma once

#include "device/CounterTable.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orvo::host {

/// The firmware values that the report shows, in its order.
enum class FirmwareValue {
    ReceivedPackets,
    ReceiveErrors,
    ControlPacketsReceived,
    ControlPacketsQueued,
    StreamFifoOverflow,
    ControlFifoNotEmpty
};
constexpr std::size_t firmwareValueCount = 6;

struct FirmwareValueRow {
    const char* label; ///< in the report
    Counter counter;
};
extern const std::array<FirmwareValueRow, firmwareValueCount> firmwareValueRows;

/// One reading of the firmware values; nothing for a register that the firmware lacks.
using FirmwareSnapshot = std::array<std::optional<std::uint64_t>, firmwareValueCount>;

constexpr std::size_t dumpedPhyRegisters = 29; // 0 to 28

struct DumpReport {
    struct Device {
        unsigned index;
        std::uint64_t serial; ///< 0: none, the device was skipped
    };

    std::uint64_t boardIndex = 0;
    std::uint64_t serial = 0;
    std::uint64_t type = 0;
    std::string name;
    std::int64_t deviceCount = 0;
    std::vector<Device> devices;
    FirmwareSnapshot first{};
    FirmwareSnapshot second{}; ///< one second later
    std::array<std::uint16_t, dumpedPhyRegisters> phy{};

    /// Reads the messages of one report about the interface `interfaceId`, as they were logged.
    /// Errors: Failure when they are no whole report.
    static DumpReport parse(const std::vector<std::string>& messages, const std::string& interfaceId);
};

} // namespace orvo::host
