// SPDX-License-Identifier: MIT
// This program's own usleep and steady clock: the dynamic linker binds the plug-in's calls to them.
#include "base/Pacing.h"

#include <orvo/Export.h>

#include <dlfcn.h>
#include <sched.h>
#include <unistd.h>

#include <atomic>
#include <ctime>
#include <thread>

namespace orvo::host {
namespace {

std::atomic<int (*)(std::uint64_t)> advanceClock{nullptr};
std::atomic<std::thread::id> driver{}; // the only thread whose sleeps advance the clock; none: any

std::atomic<std::chrono::nanoseconds (*)() noexcept> clockOfLibrary{nullptr};
std::atomic<const void*> libraryBase{nullptr}; // of that library, in memory

const void* baseOf(const void* address) noexcept {
    Dl_info found{};
    return dladdr(address, &found) != 0 ? found.dli_fbase : nullptr;
}

bool isDriver() {
    const auto only = driver.load();
    return only == std::thread::id() || only == std::this_thread::get_id();
}

} // namespace

void letSleepsAdvance(int (*advance)(std::uint64_t microseconds), bool ofThisThread) {
    driver = ofThisThread ? std::this_thread::get_id() : std::thread::id();
    advanceClock = advance;
}

void letClockTell(std::chrono::nanoseconds (*clock)() noexcept, const void* address) {
    libraryBase = clock ? baseOf(address) : nullptr;
    clockOfLibrary = clock;
}

} // namespace orvo::host

// NOLINTNEXTLINE(cert-dcl58-cpp): the library's own, as usleep is
std::chrono::steady_clock::time_point std::chrono::steady_clock::now() noexcept {
    using namespace orvo::host;
    const auto clock = clockOfLibrary.load(std::memory_order_acquire);
    if (clock && baseOf(__builtin_return_address(0)) == libraryBase.load()) return time_point(clock());
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return time_point(seconds(now.tv_sec) + nanoseconds(now.tv_nsec));
}

extern "C" ORVO_EXPORT int usleep(useconds_t length) {
    if (const auto advance = orvo::host::advanceClock.load(); advance && orvo::host::isDriver()) {
        if (advance(length) == 0) sched_yield();
        return 0;
    }
    const timespec pause{length / 1'000'000, static_cast<long>(length % 1'000'000) * 1000};
    return nanosleep(&pause, nullptr);
}
