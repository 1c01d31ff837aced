// SPDX-License-Identifier: MIT
// Time stamps that a frame path can afford, and what they are in nanoseconds.
#pragma once

#include <chrono>
#include <cstdint>

#if defined(__x86_64__)
#include <x86intrin.h>
#endif

namespace orvo::host {

inline std::int64_t steadyNanoseconds() noexcept {
    return std::chrono::steady_clock::now().time_since_epoch().count();
}

/// The processor's counter where it is known to be cheap, otherwise the steady clock.
inline std::uint64_t ticks() noexcept {
#if defined(__x86_64__)
    return __rdtsc();
#else
    return static_cast<std::uint64_t>(steadyNanoseconds());
#endif
}

/// Converts ticks to nanoseconds since this object was made. The rate is measured against the steady clock
/// from then until the last `measure`. One thread.
class TickClock {
public:
    void measure() noexcept {
        const auto counted = static_cast<double>(ticks() - beginTicks_);
        if (counted > 0) rate_ = static_cast<double>(steadyNanoseconds() - beginNs_) / counted;
    }
    std::int64_t sinceBegin(std::uint64_t moment) const noexcept {
        return static_cast<std::int64_t>(
            static_cast<double>(static_cast<std::int64_t>(moment - beginTicks_)) * rate_);
    }

private:
    std::int64_t beginNs_ = steadyNanoseconds();
    std::uint64_t beginTicks_ = ticks();
    double rate_ = 1;
};

} // namespace orvo::host
