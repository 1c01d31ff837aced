// SPDX-License-Identifier: MIT
// The simulation's one clock: real time, or virtual time that moves only when it is advanced.
#pragma once

#include <atomic>
#include <chrono>
#include <mutex>

namespace orvo::sim {

/// A moment or a span on the simulation's clock. Moments count from the start of the system's steady clock.
using SimTime = std::chrono::nanoseconds;

/// A moment before all others, and one after all others.
inline constexpr SimTime always = SimTime::zero();
inline constexpr SimTime never = SimTime::max();

/// The end of virtual time (146 years), so that adding a span to any moment does not overflow.
inline constexpr SimTime lastMoment = never / 2;

/// `start` plus `span`, at most `never`.
constexpr SimTime later(SimTime start, SimTime span) noexcept {
    return span >= never - start ? never : start + span;
}

/// Any thread. Never goes back, not even when its mode changes.
class Clock {
public:
    SimTime now() const noexcept;
    bool isVirtual() const noexcept { return virtual_.load(std::memory_order_acquire); }
    /// Driven: only the caller of `advance` moves the clock, not queue reads; time stamps start at a fixed
    /// date.
    void useVirtual(bool on, bool driven = false);
    bool isDriven() const noexcept { return driven_.load(std::memory_order_relaxed); }
    /// Stops at `lastMoment`. In real time it does nothing and returns false.
    bool advance(SimTime span);
    /// Nanoseconds since 1970, for time stamps in captures.
    std::chrono::nanoseconds wallTime() const noexcept;

private:
    std::mutex mode_;
    std::atomic<bool> virtual_{false};
    std::atomic<bool> driven_{false};
    std::atomic<SimTime> drivenSince_{SimTime::zero()};
    std::atomic<SimTime> virtualNow_{SimTime::zero()};
    std::atomic<SimTime> ahead_{SimTime::zero()}; // of the steady clock, in real time
};

/// The process's clock; lives as long as the process, also while other objects are destroyed at exit.
extern Clock simClock;

} // namespace orvo::sim
