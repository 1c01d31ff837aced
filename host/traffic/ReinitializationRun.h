// SPDX-License-Identifier: MIT
// A port's device released for another program, and opened again.
#pragma once

#include "device/BoardAccess.h"
#include "traffic/TrafficRun.h"

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

namespace orvo::host {

/// Opens a released device again: once a second until it works, with a notice each time the reason changes.
class DeviceReopening {
public:
    static constexpr std::chrono::seconds pause{1}; ///< between two attempts

    explicit DeviceReopening(Port& port) : port_(port) {}

    /// Whether it is open now.
    bool attempt();
    std::uint64_t attempts() const noexcept { return attempts_; }

private:
    Port& port_;
    std::string reason_; // of the last failure
    std::uint64_t attempts_ = 0;
};

struct ReinitializationReport {
    PortAddress port;
    double releaseSeconds = 0;
    std::vector<std::string> command = {}; ///< empty: none was run
    double commandSeconds = 0;
    int exitCode = 0;         ///< of the command
    double reopenSeconds = 0; ///< all attempts
    std::uint64_t attempts = 0;
    TrafficAccount account = {};
};

/// Opens the port without a reset, releases its device, runs the command, and opens the device again. Errors:
/// Failure; Interruption when a signal came, once the command has ended and the device was asked for again.
ReinitializationReport reinitializePort(const BoardOptions& boards, PortAddress port,
                                        const std::vector<std::string>& command);

std::string reinitializationText(const ReinitializationReport& report);
nlohmann::ordered_json reinitializationJson(const ReinitializationReport& report);

} // namespace orvo::host
