// SPDX-License-Identifier: MIT
// Whether frames may pass a port's MAC: the switches that its transmitter and its receiver look at for every
// frame.
#pragma once

#include "Clock.h"

#include <atomic>

namespace orvo::sim {

/// Set by whoever holds the bench mutex, read by any thread: a frame under way sees the old or the new
/// setting.
class PortGate {
public:
    void setTransmitter(bool on) noexcept { transmitter_.store(on, std::memory_order_relaxed); }
    void setReceiver(bool on) noexcept { receiver_.store(on, std::memory_order_relaxed); }
    /// The PHY lets frames pass from this moment on.
    void setPassesFrom(SimTime from) noexcept { passesFrom_.store(from, std::memory_order_relaxed); }

    bool canTransmit() const noexcept { return transmitter_.load(std::memory_order_relaxed) && passes(); }
    bool canReceive() const noexcept { return receiver_.load(std::memory_order_relaxed) && passes(); }

private:
    bool passes() const noexcept {
        const auto from = passesFrom_.load(std::memory_order_relaxed);
        return from == always || (from != never && hasCome(from));
    }
    bool hasCome(SimTime from) const noexcept;

    std::atomic<bool> transmitter_{false};
    std::atomic<bool> receiver_{false};
    mutable std::atomic<SimTime> passesFrom_{never};
};

} // namespace orvo::sim
