// SPDX-License-Identifier: MIT
// The boards that this process uses: its own, or a server's.
#pragma once

#include "share/Remote.h"

namespace orvo::sim {

/// The server that holds the boards; null for boards of this process. Decided at the first call, for good.
Remote* remote();

/// Has this process use its own boards, whatever the environment says. False when it uses a server's
/// already.
bool chooseOwnBoards();

} // namespace orvo::sim
