// This program's own usleep: the plug-in calls it by its name, and knows nothing of it.
#include "app/Pacing.h"

#include <orvo/Export.h>

#include <sched.h>
#include <unistd.h>

#include <atomic>
#include <ctime>

namespace orvo::host {
namespace {

std::atomic<int (*)(std::uint64_t)> advanceClock{nullptr};

} // namespace

void letPausesAdvance(int (*advance)(std::uint64_t microseconds)) {
    advanceClock = advance;
}

} // namespace orvo::host

extern "C" ORVO_EXPORT int usleep(useconds_t length) {
    if (const auto advance = orvo::host::advanceClock.load()) {
        advance(length);
        sched_yield(); // whoever the pause was for
        return 0;
    }
    const timespec pause{length / 1'000'000, static_cast<long>(length % 1'000'000) * 1000};
    return nanosleep(&pause, nullptr);
}
