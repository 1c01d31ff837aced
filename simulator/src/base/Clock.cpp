// SPDX-License-Identifier: MIT
// Real and virtual time.
#include "base/Clock.h"

#include <algorithm>

namespace orvo::sim {

namespace {

constexpr auto drivenEpoch = std::chrono::seconds{946'684'800}; // 2000-01-01 UTC

SimTime steadyNow() noexcept {
    return std::chrono::steady_clock::now().time_since_epoch();
}

} // namespace

constinit Clock simClock;

SimTime Clock::now() const noexcept {
    if (isVirtual()) return virtualNow_.load(std::memory_order_acquire);
    return steadyNow() + ahead_.load(std::memory_order_acquire);
}

void Clock::useVirtual(bool on, bool driven) {
    const std::lock_guard lock(mode_);
    if (driven && !isDriven()) drivenSince_.store(now());
    driven_.store(driven);
    if (on == isVirtual()) return;
    if (on)
        virtualNow_.store(steadyNow() + ahead_.load());
    else
        ahead_.store(virtualNow_.load() - steadyNow());
    virtual_.store(on, std::memory_order_release); // a thread that sees the mode sees its time too
}

bool Clock::advance(SimTime span) {
    const std::lock_guard lock(mode_);
    if (!isVirtual()) return false;
    virtualNow_.store(std::min(later(virtualNow_.load(), span), lastMoment), std::memory_order_release);
    return true;
}

std::chrono::nanoseconds Clock::wallTime() const noexcept {
    if (isDriven()) return now() - drivenSince_.load() + drivenEpoch;
    // Read once per process, so that time stamps never go backwards when the system clock is set.
    static const auto sinceEpoch = std::chrono::system_clock::now().time_since_epoch() - steadyNow();
    return now() + sinceEpoch;
}

} // namespace orvo::sim
