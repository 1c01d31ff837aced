// SPDX-License-Identifier: MIT
// Counters of frames, bytes and words.
#pragma once

#include <atomic>
#include <cstdint>

namespace orvo::sim {

/// Raised by one thread at a time, which makes it as cheap as a plain variable; read by any.
class Counter {
public:
    std::uint64_t value() const noexcept { return value_.load(std::memory_order_relaxed); }
    void add(std::uint64_t by) noexcept { value_.store(value() + by, std::memory_order_relaxed); }
    void set(std::uint64_t value) noexcept { value_.store(value, std::memory_order_relaxed); }

private:
    std::atomic<std::uint64_t> value_{0};
};

/// Raised and read by any thread.
class SharedCounter {
public:
    std::uint64_t value() const noexcept { return value_.load(std::memory_order_relaxed); }
    void add(std::uint64_t by) noexcept { value_.fetch_add(by, std::memory_order_relaxed); }
    void set(std::uint64_t value) noexcept { value_.store(value, std::memory_order_relaxed); }

private:
    std::atomic<std::uint64_t> value_{0};
};

} // namespace orvo::sim
