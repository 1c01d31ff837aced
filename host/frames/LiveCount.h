// SPDX-License-Identifier: MIT
// Counters of a running thread that others look at.
#pragma once

#include "frames/FrameCount.h"

#include <atomic>

namespace orvo::host {

/// A counter with one writer, which therefore needs no read-modify-write. Nothing is published with it, so it
/// needs no order either.
class LiveCounter {
public:
    void add(std::uint64_t amount) noexcept {
        value_.store(value_.load(std::memory_order_relaxed) + amount, std::memory_order_relaxed);
    }
    std::uint64_t value() const noexcept { return value_.load(std::memory_order_relaxed); }

private:
    std::atomic<std::uint64_t> value_{0};
};

/// Frames and bytes of one direction. One writer; the two may differ by a frame for whoever looks meanwhile.
class LiveFrameCount {
public:
    void add(std::size_t frameBytes) noexcept {
        frames_.add(1);
        bytes_.add(frameBytes);
    }
    FrameCount value() const noexcept { return {frames_.value(), bytes_.value()}; }

private:
    LiveCounter frames_;
    LiveCounter bytes_;
};

} // namespace orvo::host
