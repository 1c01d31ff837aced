// SPDX-License-Identifier: MIT
// Sleeps and clock of the plug-in, which virtual ones can replace.
#pragma once

#include <chrono>
#include <cstdint>

namespace orvo::host {

/// From now on usleep calls `advance` with its length instead of sleeping; null restores real sleeps. Where
/// that returns 0, the thread that the sleep may have waited for gets its turn, which takes long on a busy
/// machine. With `ofThisThread`, other threads keep really sleeping, so that the calling thread alone decides
/// what time it is.
void letSleepsAdvance(int (*advance)(std::uint64_t microseconds), bool ofThisThread = false);

/// From now on the library that holds `address` reads this clock instead of the steady clock, where it calls
/// for it; null restores that.
void letClockTell(std::chrono::nanoseconds (*clock)() noexcept, const void* address);

} // namespace orvo::host
