// SPDX-License-Identifier: MIT
#pragma once

#include <unistd.h>

#include <cerrno>
#include <chrono>

namespace orvo::templates::platform {

/// Sleeps for the whole time, also in a process whose timers interrupt every sleep by signals: hardware that
/// is paced by sleeps has no other way to show that it is ready. Out of line, because frame paths seldom
/// sleep.
[[gnu::noinline]] inline void sleepWhole(useconds_t microseconds) noexcept {
    using namespace std::chrono;
    const auto end = steady_clock::now() + std::chrono::microseconds{microseconds};
    while (usleep(microseconds) != 0 && errno == EINTR) {
        const auto rest = ceil<std::chrono::microseconds>(end - steady_clock::now());
        if (rest.count() <= 0) return;
        microseconds = static_cast<useconds_t>(rest.count());
    }
}

} // namespace orvo::templates::platform
