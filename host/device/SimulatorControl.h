// SPDX-License-Identifier: MIT
// Control of the simulated board, where the installation has one.
#pragma once

#include "base/DynamicLibrary.h"
#include "device/PortAddress.h"

#include <orvo/sim/orvo_sim.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

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

    /// Real time, as a process begins with.
    void letTimePass() const;
    /// Switches the board to virtual time, and lets every usleep of the process advance it.
    void letPausesAdvanceTime() const;
    /// The same for the calling thread's usleeps alone: it decides what time it is, and time stamps are
    /// always the same.
    void letPausesDriveTime() const;
    void advanceTime(std::uint64_t microseconds) const { advanceTime_(microseconds); }

    /// The board's clock, from an arbitrary start.
    double seconds() const;
    std::uint64_t microseconds() const { return time_(); }

    /// Has the faults of a script happen from now on. Errors: Failure when it is bad.
    void loadFaults(const std::string& script, std::uint64_t seed) const;
    void endFaults() const { endFaults_(); }
    std::vector<OrvoSimFault> faults() const;
    /// Of a port that is there, once faults were loaded.
    OrvoSimPortAccount account(PortAddress port) const;

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
    decltype(&::orvoSimLoadFaults) loadFaults_;
    decltype(&::orvoSimEndFaults) endFaults_;
    decltype(&::orvoSimReadFault) readFault_;
    decltype(&::orvoSimReadPortAccount) readPortAccount_;
};

} // namespace orvo::host
