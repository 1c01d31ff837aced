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
    /// `until` is where the moment is kept at which the last frame has left. A pause of at most `slack`
    /// between two frames is not counted: the sender was only late in noticing that the line is free.
    Line(std::atomic<std::int64_t>& until, std::chrono::nanoseconds slack) noexcept
        : until_(until), slackNs_(slack.count()) {}

    void setMbit(unsigned mbit) noexcept {
        nsPerByte_.store(mbit != 0 ? 8000 / mbit : 0, std::memory_order_relaxed);
    }
    bool hasRate() const noexcept {
        return nsPerByte_.load(std::memory_order_relaxed) != 0 && !simClock.isVirtual();
    }
    bool isBusy() const noexcept { return hasRate() && nowNs() < until_.load(std::memory_order_relaxed); }
    /// A frame of this length, check sequence included, begins now.
    void occupy(std::size_t wireBytes) noexcept;
    /// Waits until the line is free.
    void await() const noexcept;

private:
    static std::int64_t nowNs() noexcept {
        return std::chrono::nanoseconds(std::chrono::steady_clock::now().time_since_epoch()).count();
    }
    std::atomic<std::int64_t>& until_;
    const std::int64_t slackNs_;
    std::atomic<std::uint32_t> nsPerByte_{0};
};

} // namespace orvo::sim
