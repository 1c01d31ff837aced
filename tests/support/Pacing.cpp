// SPDX-License-Identifier: MIT
// usleep and clock_gettime, interposed.
#include "support/Pacing.h"

#include <sched.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <mutex>

namespace orvo::test {
namespace {

std::mutex handlerLock;
std::function<void(std::chrono::microseconds)> sleepHandler;
std::function<void()> clockHandler;
std::atomic<long> interruptionMs{0}; // of the next sleep, after so much of it; 0 for none
std::atomic<long> heldNs{0};         // what the clock shows while it is held, 0 while it runs

} // namespace

void onSleep(std::function<void(std::chrono::microseconds)> handler) {
    const std::lock_guard guard(handlerLock);
    sleepHandler = std::move(handler);
}

void interruptNextSleep(std::chrono::milliseconds after) {
    interruptionMs = after.count();
}

void holdClock() {
    heldNs = std::chrono::nanoseconds{std::chrono::steady_clock::now().time_since_epoch()}.count();
}

void advanceClock(std::chrono::milliseconds step) {
    heldNs += std::chrono::nanoseconds{step}.count();
}

void onClockReading(std::function<void()> handler) {
    const std::lock_guard guard(handlerLock);
    clockHandler = std::move(handler);
}

void restorePacing() {
    onSleep({});
    onClockReading({});
    heldNs = 0;
}

} // namespace orvo::test

extern "C" {

__attribute__((visibility("default"))) int usleep(useconds_t length) {
    {
        const std::lock_guard guard(orvo::test::handlerLock);
        if (orvo::test::sleepHandler) orvo::test::sleepHandler(std::chrono::microseconds{length});
    }
    sched_yield();
    const std::chrono::milliseconds passed{orvo::test::interruptionMs.exchange(0)};
    if (passed.count() == 0) return 0;
    orvo::test::advanceClock(passed);
    errno = EINTR;
    return -1;
}

__attribute__((visibility("default"))) int clock_gettime(clockid_t clock, timespec* now) noexcept {
    if (clock != CLOCK_MONOTONIC || orvo::test::heldNs == 0)
        return static_cast<int>(syscall(SYS_clock_gettime, clock, now));
    {
        const std::lock_guard guard(orvo::test::handlerLock);
        if (orvo::test::clockHandler) orvo::test::clockHandler();
    }
    const long held = orvo::test::heldNs;
    *now = {held / 1'000'000'000, held % 1'000'000'000};
    return 0;
}
}
