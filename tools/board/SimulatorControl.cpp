// Calls of the simulated board's control functions.
#include "board/SimulatorControl.h"

#include "app/Failure.h"
#include "app/Pacing.h"

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
      time_(hal.require<decltype(::orvoSimTime)>("orvoSimTime")) {}

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

void SimulatorControl::letPausesAdvanceTime() const {
    useVirtualTime_(1);
    letPausesAdvance(advanceTime_);
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
