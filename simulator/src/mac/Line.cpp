// SPDX-License-Identifier: MIT
#include "mac/Line.h"

#include <thread>

#include <unistd.h>

namespace orvo::sim {

namespace {

constexpr std::int64_t gapBytes = 20;        // preamble, start of frame, and the gap between frames
constexpr std::int64_t oversleepNs = 80'000; // that a short sleep may take longer than asked for

} // namespace

void Line::occupy(std::size_t wireBytes) noexcept {
    const auto now = nowNs();
    const auto until = until_.load(std::memory_order_relaxed);
    const auto begin = until + slackNs_ < now ? now : until;
    const auto bytes = static_cast<std::int64_t>(wireBytes) + gapBytes;
    until_.store(begin + bytes * nsPerByte_.load(std::memory_order_relaxed), std::memory_order_relaxed);
}

void Line::await() const noexcept {
    while (hasRate()) {
        const auto left = until_.load(std::memory_order_relaxed) - nowNs();
        if (left <= 0) return;
        if (left > oversleepNs)
            usleep(static_cast<useconds_t>((left - oversleepNs) / 1000));
        else
            std::this_thread::yield();
    }
}

} // namespace orvo::sim
