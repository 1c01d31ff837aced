// SPDX-License-Identifier: MIT
// A value that one thread writes and others may read.
#pragma once

#include <atomic>

namespace orvo::templates::platform {

/// Written by one thread at a time, read by any. It orders no other memory: a reader that needs more than the
/// value itself needs a lock as well. Costs as much as a plain variable.
template <class T> class Relaxed {
public:
    Relaxed(T value = T{}) noexcept : value_(value) {} // NOLINT: stands for a T everywhere
    operator T() const noexcept { return value_.load(std::memory_order_relaxed); } // NOLINT
    Relaxed& operator=(T value) noexcept {
        value_.store(value, std::memory_order_relaxed);
        return *this;
    }
    /// A load and a store, not one atomic step: there is one writer.
    Relaxed& operator+=(T addend) noexcept { return *this = T(*this) + addend; }

private:
    std::atomic<T> value_;
};

} // namespace orvo::templates::platform
