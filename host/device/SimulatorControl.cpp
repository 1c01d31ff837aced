// SPDX-License-Identifier: MIT
// Calls of the simulated board's control functions.
#include "device/SimulatorControl.h"

#include "base/Failure.h"
#include "base/Pacing.h"

#include <array>

namespace orvo::host {

std::optional<SimulatorControl> SimulatorControl::find(const DynamicLibrary& hal) {
    if (!hal.find<decltype(::orvoSimConfigurationError)>("orvoSimConfigurationError")) return std::nullopt;
    const SimulatorControl control(hal);
    if (const char* error = control.configurationError_())
        throw Failure(std::string(error) +
                      "; correct the simulated board's configuration, no board appears before");
    return control;
}

SimulatorControl::SimulatorControl(const DynamicLibrary& hal)
    : configurationError_(hal.require<decltype(::orvoSimConfigurationError)>("orvoSimConfigurationError")),
      setWire_(hal.require<decltype(::orvoSimSetWire)>("orvoSimSetWire")),
      getWire_(hal.require<decltype(::orvoSimGetWire)>("orvoSimGetWire")),
      readPort_(hal.require<decltype(::orvoSimReadPort)>("orvoSimReadPort")),
      flushWires_(hal.require<decltype(::orvoSimFlushWires)>("orvoSimFlushWires")),
      useVirtualTime_(hal.require<decltype(::orvoSimUseVirtualTime)>("orvoSimUseVirtualTime")),
      advanceTime_(hal.require<decltype(::orvoSimAdvanceTime)>("orvoSimAdvanceTime")),
      time_(hal.require<decltype(::orvoSimTime)>("orvoSimTime")),
      loadFaults_(hal.require<decltype(::orvoSimLoadFaults)>("orvoSimLoadFaults")),
      endFaults_(hal.require<decltype(::orvoSimEndFaults)>("orvoSimEndFaults")),
      readFault_(hal.require<decltype(::orvoSimReadFault)>("orvoSimReadFault")),
      readPortAccount_(hal.require<decltype(::orvoSimReadPortAccount)>("orvoSimReadPortAccount")) {}

void SimulatorControl::setWire(PortAddress port, const std::string& wire) const {
    std::array<char, 512> reason = {};
    const int result = setWire_(port.board, port.port, wire.c_str(), reason.data(), reason.size());
    if (result == 0) return;
    if (result == OrvoSimNoSuchPlace && !reason.front())
        throw Failure("cannot cable port " + port.text() +
                      ": there is no such port; 'orvo-gige boards' lists boards and ports");
    throw Failure("cannot cable port " + port.text() + " with " + quoted(wire) + ": " +
                  (reason.front() ? reason.data() : "it is no wire"));
}

std::string SimulatorControl::wire(PortAddress port) const {
    std::array<char, 4096> text = {}; // two paths may be in it
    return getWire_(port.board, port.port, text.data(), text.size()) == 0 ? text.data() : "";
}

std::optional<OrvoSimPort> SimulatorControl::state(PortAddress port) const {
    OrvoSimPort found = {};
    if (readPort_(port.board, port.port, &found) != 0) return std::nullopt;
    return found;
}

std::optional<bool> SimulatorControl::linkUp(PortAddress port) const {
    const auto found = state(port);
    if (!found) return std::nullopt;
    return found->linkUp != 0;
}

void SimulatorControl::letTimePass() const {
    letPausesAdvance(nullptr);
    useVirtualTime_(OrvoSimRealTime);
}

void SimulatorControl::letPausesAdvanceTime() const {
    useVirtualTime_(OrvoSimVirtualTime);
    letPausesAdvance(advanceTime_);
}

void SimulatorControl::letPausesDriveTime() const {
    useVirtualTime_(OrvoSimDrivenTime);
    letPausesAdvance(advanceTime_, true);
}

void SimulatorControl::loadFaults(const std::string& script, std::uint64_t seed) const {
    std::array<char, 4096> reason = {};
    if (loadFaults_(script.c_str(), seed, reason.data(), reason.size()) != 0)
        throw Failure(std::string(reason.data()) + " (option --faults)");
}

std::vector<OrvoSimFault> SimulatorControl::faults() const {
    std::vector<OrvoSimFault> found;
    for (OrvoSimFault fault = {}; readFault_(static_cast<unsigned>(found.size()), &fault) == 0;)
        found.push_back(fault);
    return found;
}

OrvoSimPortAccount SimulatorControl::account(PortAddress port) const {
    OrvoSimPortAccount found = {};
    readPortAccount_(port.board, port.port, &found); // stays zero where there is none
    return found;
}

double SimulatorControl::seconds() const {
    return static_cast<double>(time_()) / 1e6;
}

void SimulatorControl::flushWires() const {
    if (flushWires_() != 0)
        throw Failure(
            "what a wire of the simulated board recorded is incomplete; free space, or name another "
            "file (option --wire)");
}

} // namespace orvo::host
