// SPDX-License-Identifier: MIT
// Counts of frames and bytes, some of which one thread writes while others read.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace orvo::host {

struct FrameCount {
    std::uint64_t frames = 0;
    std::uint64_t bytes = 0; ///< without frame check sequence

    void add(std::size_t frameBytes) noexcept {
        ++frames;
        bytes += frameBytes;
    }
};

/// A counter with one writer, which therefore needs no read-modify-write. Any thread may read it.
class LiveCounter {
public:
    void add(std::uint64_t amount, std::memory_order order = std::memory_order_relaxed) noexcept {
        value_.store(value_.load(std::memory_order_relaxed) + amount, order);
    }
    std::uint64_t value(std::memory_order order = std::memory_order_relaxed) const noexcept {
        return value_.load(order);
    }

private:
    std::atomic<std::uint64_t> value_{0};
};

/// Frames and bytes of one direction. One writer; a reader may see the two differ by a frame.
class LiveFrameCount {
public:
    void add(std::size_t bytes, std::size_t frames = 1) noexcept {
        frames_.add(frames);
        bytes_.add(bytes);
    }
    FrameCount value() const noexcept { return {frames_.value(), bytes_.value()}; }

private:
    LiveCounter frames_;
    LiveCounter bytes_;
};

} // namespace orvo::host
