// SPDX-License-Identifier: MIT
// Sleeps of this process, the plug-in's included, which a virtual clock can replace.
#pragma once

#include <cstdint>

namespace orvo::host {

/// From now on usleep calls `advance` with its length instead of sleeping; null restores real sleeps. With
/// `ofThisThread`, other threads keep really sleeping, so that the calling thread alone decides what time it
/// is.
void letSleepsAdvance(int (*advance)(std::uint64_t microseconds), bool ofThisThread = false);

} // namespace orvo::host
