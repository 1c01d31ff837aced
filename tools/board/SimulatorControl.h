// Control of the simulated board, where the installation has one.
#pragma once

#include "board/DynamicLibrary.h"
#include "board/PortAddress.h"

#include <orvo/sim/orvo_sim.h>

#include <optional>
#include <string>

namespace orvo::host {

class SimulatorControl {
public:
    /// Nothing when `hal` is the hardware access layer of a real board.
    /// Errors: Failure when the simulator's configuration file is bad.
    static std::optional<SimulatorControl> find(const DynamicLibrary& hal);

    /// Errors: Failure when there is no such port or `wire` is no wire.
    void setWire(PortAddress port, const std::string& wire) const;

    /// The wire's text; empty when there is no such port.
    std::string wire(PortAddress port) const;

    /// Nothing when there is no such port.
    std::optional<bool> linkUp(PortAddress port) const;

    /// What a port did so far; nothing when there is no such port.
    std::optional<OrvoSimPort> state(PortAddress port) const;

    /// Switches the board to virtual time, and lets every usleep of the process advance it.
    void letPausesAdvanceTime() const;

    /// The board's clock, from an arbitrary start.
    double seconds() const;

    /// Completes the files that wires write. Errors: Failure when one did not take everything.
    void flushWires() const;

private:
    explicit SimulatorControl(const DynamicLibrary& hal);

    decltype(&::orvoSimConfigurationError) configurationError_;
    decltype(&::orvoSimSetWire) setWire_;
    decltype(&::orvoSimGetWire) getWire_;
    decltype(&::orvoSimReadPort) readPort_;
    decltype(&::orvoSimFlushWires) flushWires_;
    decltype(&::orvoSimUseVirtualTime) useVirtualTime_;
    decltype(&::orvoSimAdvanceTime) advanceTime_;
    decltype(&::orvoSimTime) time_;
};

} // namespace orvo::host
