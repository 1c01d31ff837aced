// SPDX-License-Identifier: MIT
// The time that frames take on a wire.
#pragma once

#include "base/Clock.h"

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>

namespace orvo::sim {

/// One direction of a link, in real time; without a rate, frames take no time. Threads: one carries frames,
/// any other sets the rate and looks.
class Line {
public:
    /// A pause of at most this between two frames is not counted: the sender was only late, because it slept
    /// or had no processor. What it missed it makes up at once, so that the mean is the line's rate. A
    /// receive queue of the usual size holds what comes in one go then.
    static constexpr std::chrono::milliseconds lateness{2};

    /// `until` is where the moment is kept at which the last frame has left.
    explicit Line(std::atomic<std::int64_t>& until) noexcept : until_(until) {}

    void setMbit(unsigned mbit) noexcept {
        nsPerByte_.store(mbit != 0 ? 8000 / mbit : 0, std::memory_order_relaxed);
    }
    bool hasRate() const noexcept {
        return nsPerByte_.load(std::memory_order_relaxed) != 0 && !simClock.isVirtual();
    }
    bool isBusy() const noexcept { return hasRate() && nowNs() < until_.load(std::memory_order_relaxed); }
    /// A frame of this length, check sequence included, begins now.
    void occupy(std::size_t wireBytes) noexcept;
    /// Sleeps until the line is free, and perhaps some 100 us longer.
    void await() const noexcept;
    /// For one that polls: false when the moment has come; else sleeps until then, and perhaps some 100 us
    /// longer.
    static bool napsUntil(std::int64_t moment) noexcept;
    void nap() const noexcept { napsUntil(until_.load(std::memory_order_relaxed)); }

private:
    static std::int64_t nowNs() noexcept {
        return std::chrono::nanoseconds(std::chrono::steady_clock::now().time_since_epoch()).count();
    }
    std::atomic<std::int64_t>& until_;
    std::atomic<std::uint32_t> nsPerByte_{0};
};

} // namespace orvo::sim
