// SPDX-License-Identifier: MIT
#include "mac/Line.h"

#include <algorithm>
#include <thread>

namespace orvo::sim {

namespace {

constexpr std::int64_t gapBytes = 20; // preamble, start of frame, and the gap between frames

// Setting a timer and waking up take as long as a full frame at a gigabit, so that a sleep for each frame, or
// a loop that looks all the time, would leave both ends of a connection too little of two processors. As many
// network cards raise one interrupt for all frames of such a time.
constexpr std::chrono::nanoseconds shortestNap = std::chrono::microseconds(100);

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
    while (isBusy()) nap();
}

bool Line::napsUntil(std::int64_t moment) noexcept {
    const std::chrono::nanoseconds left(moment - nowNs());
    if (left.count() <= 0) return false;
    std::this_thread::sleep_for(std::max(left, shortestNap));
    return true;
}

} // namespace orvo::sim
