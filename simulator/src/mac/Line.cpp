// SPDX-License-Identifier: MIT
#include "mac/Line.h"

#include <thread>

namespace orvo::sim {

namespace {

constexpr std::int64_t gapBytes = 20;              // preamble, start of frame, and the gap between frames
constexpr std::chrono::microseconds oversleep{80}; // that a short sleep may take longer than asked for

} // namespace

void Line::occupy(std::size_t wireBytes) noexcept {
    constexpr auto latenessNs = std::chrono::nanoseconds(lateness).count();
    const auto now = nowNs();
    const auto until = until_.load(std::memory_order_relaxed);
    const auto begin = until + latenessNs < now ? now : until;
    const auto bytes = static_cast<std::int64_t>(wireBytes) + gapBytes;
    until_.store(begin + bytes * nsPerByte_.load(std::memory_order_relaxed), std::memory_order_relaxed);
}

/// In real time, which a program's own usleep may not be.
void Line::await() const noexcept {
    using Moment = std::chrono::time_point<std::chrono::steady_clock, std::chrono::nanoseconds>;
    while (isBusy())
        std::this_thread::sleep_until(
            Moment(std::chrono::nanoseconds(until_.load(std::memory_order_relaxed))));
}

bool Line::napsUntil(std::int64_t moment) noexcept {
    const std::chrono::nanoseconds left(moment - nowNs());
    if (left.count() <= 0) return false;
    if (left > oversleep)
        std::this_thread::sleep_for(left - oversleep);
    else
        std::this_thread::yield();
    return true;
}

} // namespace orvo::sim
