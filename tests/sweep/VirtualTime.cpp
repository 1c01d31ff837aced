// SPDX-License-Identifier: MIT
// usleep and clock_gettime, interposed.
#include "sweep/VirtualTime.h"

#include <orvo/sim/orvo_sim.h>

#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <atomic>

namespace orvo::test {
namespace {

constexpr long startNs = 1'000'000'000;
constexpr long lookNs = 1'000'000;
constexpr useconds_t shortSleepUs = 1000; // of a loop that waits for another thread

thread_local bool isHost = false;
std::atomic<long> clockNs{startNs};

} // namespace

void becomeHostThread() {
    isHost = true;
}

bool isHostThread() {
    return isHost;
}

void restartClock() {
    clockNs = startNs;
}

void nap() {
    const timespec moment{0, 100'000};
    nanosleep(&moment, nullptr);
}

} // namespace orvo::test

extern "C" {

__attribute__((visibility("default"))) int usleep(useconds_t length) {
    if (orvo::test::isHostThread()) orvoSimAdvanceTime(length);
    if (!orvo::test::isHostThread() || length <= orvo::test::shortSleepUs) orvo::test::nap();
    return 0;
}

__attribute__((visibility("default"))) int clock_gettime(clockid_t clock, timespec* now) noexcept {
    if (clock != CLOCK_MONOTONIC) return static_cast<int>(syscall(SYS_clock_gettime, clock, now));
    const long ns = orvo::test::clockNs.fetch_add(orvo::test::lookNs);
    *now = {ns / 1'000'000'000, ns % 1'000'000'000};
    return 0;
}
}
