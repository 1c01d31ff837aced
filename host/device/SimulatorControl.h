// SPDX-License-Identifier: MIT
#pragma once

#include "base/DynamicLibrary.h"
#include "device/PortAddress.h"

#include <orvo/sim/orvo_sim.h>

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace orvo::host {

/// The control functions of the simulated board.
class SimulatorControl {
public:
    /// Nothing when `hal` is the hardware access layer of a real board.
    /// Errors: Failure when the simulator's configuration file is bad, or the server that the environment
    /// names does not answer.
    static std::optional<SimulatorControl> find(const DynamicLibrary& hal);

    /// The socket of the server whose boards these are, or to which this process is the server; empty for
    /// boards of its own.
    std::string server() const;
    bool isServerGone() const noexcept;

    /// Errors: Failure when there is no such port or `wire` is malformed.
    void setWire(PortAddress port, const std::string& wire) const;

    /// The wire's text; empty when there is no such port.
    std::string wire(PortAddress port) const;

    /// The port at the other end of its wire, itself with a loopback plug; nothing where the wire leads out
    /// of the simulation.
    std::optional<PortAddress> farEnd(PortAddress port) const;

    /// What a port has done so far; nothing when there is no such port.
    std::optional<OrvoSimPort> state(PortAddress port) const;

    /// In virtual time, every usleep of the process advances the clock; in driven time only those of the
    /// calling thread do, so that time stamps are reproducible.
    void useClock(OrvoSimClock clock) const;
    void advanceTime(std::uint64_t microseconds) const { advanceTime_(microseconds); }

    /// The board's clock, from an arbitrary start.
    double seconds() const;
    std::uint64_t microseconds() const { return time_(); }

    /// Starts the faults of a script. Errors: Failure when the script is bad.
    void loadFaults(const std::string& script, std::uint64_t seed) const;
    void endFaults() const { endFaults_(); }
    std::vector<OrvoSimFault> faults() const;
    /// All zero for a port that does not exist, and before faults are loaded.
    OrvoSimPortAccount account(PortAddress port) const;

    /// Completes the files that wires write. Errors: Failure when one is incomplete.
    void flushWires() const;

private:
    explicit SimulatorControl(DynamicLibrary hal) : hal_(std::move(hal)) {}

    DynamicLibrary hal_;
    decltype(&::orvoSimConfigurationError) configurationError_ = hal_.require("orvoSimConfigurationError");
    decltype(&::orvoSimServer) server_ = hal_.require("orvoSimServer");
    decltype(&::orvoSimSetWire) setWire_ = hal_.require("orvoSimSetWire");
    decltype(&::orvoSimGetWire) getWire_ = hal_.require("orvoSimGetWire");
    decltype(&::orvoSimReadPort) readPort_ = hal_.require("orvoSimReadPort");
    decltype(&::orvoSimFlushWires) flushWires_ = hal_.require("orvoSimFlushWires");
    decltype(&::orvoSimUseVirtualTime) useVirtualTime_ = hal_.require("orvoSimUseVirtualTime");
    decltype(&::orvoSimAdvanceTime) advanceTime_ = hal_.require("orvoSimAdvanceTime");
    decltype(&::orvoSimTime) time_ = hal_.require("orvoSimTime");
    decltype(&::orvoSimLoadFaults) loadFaults_ = hal_.require("orvoSimLoadFaults");
    decltype(&::orvoSimEndFaults) endFaults_ = hal_.require("orvoSimEndFaults");
    decltype(&::orvoSimReadFault) readFault_ = hal_.require("orvoSimReadFault");
    decltype(&::orvoSimReadPortAccount) readPortAccount_ = hal_.require("orvoSimReadPortAccount");
};

} // namespace orvo::host
