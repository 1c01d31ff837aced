// SPDX-License-Identifier: MIT
// Whether frames may pass a port's MAC; its transmitter and its receiver look here for every frame.
#pragma once

#include "base/Clock.h"

#include <atomic>

namespace orvo::sim {

/// Set under the bench mutex, read by any thread. A frame that is being sent or received sees the old or the
/// new setting.
class PortGate {
public:
    void setTransmitter(bool on) noexcept { transmitter_.store(on, std::memory_order_relaxed); }
    void setReceiver(bool on) noexcept { receiver_.store(on, std::memory_order_relaxed); }
    /// The PHY lets frames pass from this moment on.
    void setPassesFrom(SimTime from) noexcept { passesFrom_.store(from, std::memory_order_relaxed); }

    bool isTransmitterOn() const noexcept { return transmitter_.load(std::memory_order_relaxed); }
    bool isReceiverOn() const noexcept { return receiver_.load(std::memory_order_relaxed); }
    bool canTransmit() const noexcept { return isTransmitterOn() && passes(); }
    bool canReceive() const noexcept { return isReceiverOn() && passes(); }

private:
    bool passes() const noexcept {
        const auto from = passesFrom_.load(std::memory_order_relaxed);
        return from == always || (from != never && hasCome(from));
    }
    /// Replaces a moment that has come by `always`, so that later frames need not read the clock.
    [[gnu::noinline]] bool hasCome(SimTime from) const noexcept {
        if (simClock.now() < from) return false;
        passesFrom_.compare_exchange_strong(from, always, std::memory_order_relaxed);
        return true;
    }

    std::atomic<bool> transmitter_{false};
    std::atomic<bool> receiver_{false};
    mutable std::atomic<SimTime> passesFrom_{never};
};

} // namespace orvo::sim
