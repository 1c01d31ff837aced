// SPDX-License-Identifier: MIT
// Pauses of the program and of the plug-in in it, which a virtual clock can take over.
#pragma once

#include <cstdint>

namespace orvo::host {

/// From now on a usleep of this process, the plug-in's among them, does not wait but calls `advance` with its
/// length; null ends that. Waits between threads of the program are no usleep. `ofThisThread`: those of other
/// threads wait as ever, so that the calling thread alone decides what time it is.
void letPausesAdvance(int (*advance)(std::uint64_t microseconds), bool ofThisThread = false);

} // namespace orvo::host
