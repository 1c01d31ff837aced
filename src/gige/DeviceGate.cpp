// SPDX-License-Identifier: MIT
// The gate's waits. Each reads the clock before it looks at what it waits for, so that a thread that was held
// up past its limit looks once more before it gives up.
#include "gige/DeviceGate.h"

#include <sched.h>
#include <unistd.h>

namespace orvo::core::zume {
namespace {

using Clock = std::chrono::steady_clock;

constexpr unsigned lookPauseUs = 1000;

} // namespace

bool DeviceGate::awaitTurn(std::chrono::milliseconds limit) noexcept {
    for (const auto deadline = Clock::now() + limit;;) {
        sched_yield();
        const bool isLate = Clock::now() >= deadline;
        // Only looks as long as another sender is inside, which leaves it the flag's cache line.
        if (sending_.load(std::memory_order_relaxed) == 0 && sending_.exchange(1) == 0) return true;
        if (isLate) return false;
    }
}

bool DeviceGate::somebodyInside() const noexcept {
    return receiving_.load() != 0 || leeching_.load() != 0 || sending_.load() != 0 ||
           controlling_.load() != 0;
}

bool DeviceGate::close(std::chrono::milliseconds limit) noexcept {
    closed_.store(true);
    for (const auto deadline = Clock::now() + limit;;) {
        const bool isLate = Clock::now() >= deadline;
        if (!somebodyInside()) return true;
        if (isLate) break;
        usleep(lookPauseUs);
    }
    open();
    return false;
}

void DeviceGate::awaitOpen(std::chrono::milliseconds limit) const {
    for (auto waited = std::chrono::milliseconds{0}; isClosed() && waited < limit; ++waited)
        usleep(lookPauseUs);
}

} // namespace orvo::core::zume
