// SPDX-License-Identifier: MIT
#include "device/SimulatorControl.h"

#include "base/Failure.h"
#include "base/Pacing.h"
#include "device/BoardServer.h"

#include <array>

namespace orvo::host {

std::optional<SimulatorControl> SimulatorControl::find(const DynamicLibrary& hal) {
    if (!hal.find<decltype(::orvoSimConfigurationError)>("orvoSimConfigurationError")) return std::nullopt;
    const SimulatorControl control(hal);
    if (const char* error = control.configurationError_())
        throw Failure(isServerChosen()
                          ? error
                          : std::string(error) + "; correct the simulated board's configuration, "
                                                 "until then it has no boards");
    return control;
}

std::string SimulatorControl::server() const {
    const char* const socket = server_();
    return socket ? socket : "";
}

bool SimulatorControl::isServerGone() const noexcept {
    OrvoSimPort unused = {};
    return readPort_(0, 0, &unused) == OrvoSimServerGone;
}

void SimulatorControl::setWire(PortAddress port, const std::string& wire) const {
    std::array<char, 512> reason = {};
    const int result = setWire_(port.board, port.port, wire.c_str(), reason.data(), reason.size());
    if (result == 0) return;
    if (result == OrvoSimNoSuchPlace && !reason.front())
        throw Failure("cannot cable port " + port.text() +
                      ": there is no such port; 'orvo-gige boards' lists boards and ports");
    throw Failure("cannot cable port " + port.text() + " with " + quoted(wire) + ": " +
                  (reason.front() ? reason.data() : "it is not a wire"));
}

std::string SimulatorControl::wire(PortAddress port) const {
    std::array<char, 4096> text = {}; // it may contain two paths
    return getWire_(port.board, port.port, text.data(), text.size()) == 0 ? text.data() : "";
}

std::optional<PortAddress> SimulatorControl::farEnd(PortAddress port) const {
    const std::string text = wire(port), cable = "port:";
    if (text == "loopback") return port;
    return text.starts_with(cable) ? PortAddress::parse(text.substr(cable.size())) : std::nullopt;
}

std::optional<OrvoSimPort> SimulatorControl::state(PortAddress port) const {
    OrvoSimPort found = {};
    if (readPort_(port.board, port.port, &found) != 0) return std::nullopt;
    return found;
}

void SimulatorControl::useClock(OrvoSimClock clock) const {
    useVirtualTime_(clock);
    letSleepsAdvance(clock == OrvoSimRealTime ? nullptr : advanceTime_, clock == OrvoSimDrivenTime);
}

void SimulatorControl::loadFaults(const std::string& script, std::uint64_t seed) const {
    std::array<char, 4096> reason = {};
    if (loadFaults_(script.c_str(), seed, reason.data(), reason.size()) != 0) throw Failure(reason.data());
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
            "a wire of the simulated board could not write its whole recording; free space, or name "
            "another file (option --wire)");
}

} // namespace orvo::host
