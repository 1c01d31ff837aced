// SPDX-License-Identifier: MIT
// The simulation's one clock: real time, or virtual time that moves only when told to.
#pragma once

#include <atomic>
#include <chrono>
#include <mutex>

namespace orvo::sim {

/// A moment or a span on the simulation's clock. Moments count from the start of the system's steady clock.
using SimTime = std::chrono::nanoseconds;

/// The moment that has always passed, and the one that never comes.
inline constexpr SimTime always = SimTime::zero();
inline constexpr SimTime never = SimTime::max();

/// Virtual time does not go further than this (146 years), so that every later moment can still be told.
inline constexpr SimTime lastMoment = never / 2;

/// `start` plus `span`, where a start of `never` stays.
constexpr SimTime later(SimTime start, SimTime span) noexcept {
    return span >= never - start ? never : start + span;
}

/// Any thread. Never goes back, also not when its mode changes.
class Clock {
public:
    SimTime now() const noexcept;
    bool isVirtual() const noexcept { return virtual_.load(std::memory_order_acquire); }
    /// Driven: nothing but `advance` at the hands of who drives it moves it, and time stamps count from a
    /// moment that is always the same.
    void useVirtual(bool on, bool driven = false);
    bool isDriven() const noexcept { return driven_.load(std::memory_order_relaxed); }
    /// As far as `lastMoment`. False, and without effect, in real time.
    bool advance(SimTime span);
    /// The moment as nanoseconds since 1970, for time stamps in captures.
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
