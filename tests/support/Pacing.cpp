// usleep and clock_gettime, interposed.
#include "support/Pacing.h"

#include <sched.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <atomic>
#include <mutex>

namespace orvo::test {
namespace {

std::mutex handlerLock;
std::function<void(std::chrono::microseconds)> sleepHandler;
std::atomic<long> clockAheadMs{0};

} // namespace

void onSleep(std::function<void(std::chrono::microseconds)> handler) {
    const std::lock_guard guard(handlerLock);
    sleepHandler = std::move(handler);
}

void advanceClock(std::chrono::milliseconds step) {
    clockAheadMs += step.count();
}

void restorePacing() {
    onSleep({});
    clockAheadMs = 0;
}

} // namespace orvo::test

extern "C" {

__attribute__((visibility("default"))) int usleep(useconds_t length) {
    const std::lock_guard guard(orvo::test::handlerLock);
    if (orvo::test::sleepHandler)
        orvo::test::sleepHandler(std::chrono::microseconds{length});
    else
        sched_yield();
    return 0;
}

__attribute__((visibility("default"))) int clock_gettime(clockid_t clock, timespec* now) noexcept {
    const auto result = static_cast<int>(syscall(SYS_clock_gettime, clock, now));
    if (clock == CLOCK_MONOTONIC && result == 0) {
        const long ahead = orvo::test::clockAheadMs;
        now->tv_sec += ahead / 1000;
        now->tv_nsec += ahead % 1000 * 1'000'000;
        if (now->tv_nsec >= 1'000'000'000) {
            now->tv_nsec -= 1'000'000'000;
            ++now->tv_sec;
        }
    }
    return result;
}
}
