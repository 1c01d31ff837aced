// SPDX-License-Identifier: MIT
// This program's own usleep: the plug-in calls it by its name, and knows nothing of it.
#include "base/Pacing.h"

#include <orvo/Export.h>

#include <sched.h>
#include <unistd.h>

#include <atomic>
#include <ctime>
#include <thread>

namespace orvo::host {
namespace {

std::atomic<int (*)(std::uint64_t)> advanceClock{nullptr};
std::atomic<std::thread::id> driver{}; // the only thread whose pauses advance it; none: any

bool isDriver() {
    const auto only = driver.load();
    return only == std::thread::id() || only == std::this_thread::get_id();
}

} // namespace

void letPausesAdvance(int (*advance)(std::uint64_t microseconds), bool ofThisThread) {
    driver = ofThisThread ? std::this_thread::get_id() : std::thread::id();
    advanceClock = advance;
}

} // namespace orvo::host

extern "C" ORVO_EXPORT int usleep(useconds_t length) {
    if (const auto advance = orvo::host::advanceClock.load(); advance && orvo::host::isDriver()) {
        advance(length);
        sched_yield(); // whoever the pause was for
        return 0;
    }
    const timespec pause{length / 1'000'000, static_cast<long>(length % 1'000'000) * 1000};
    return nanosleep(&pause, nullptr);
}
