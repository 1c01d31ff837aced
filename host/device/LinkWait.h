// SPDX-License-Identifier: MIT
// Waiting for a port's link before the first frame.
#pragma once

#include "device/BoardAccess.h"
#include "device/PortAddress.h"

namespace orvo::host {

/// Waits up to 10 s until the link of `port` is up. Does not wait where nobody can tell: on a firmware
/// without MDIO registers. Reads the PHY over MDIO on a real board, so the port's board must not be in a
/// reset meanwhile. Errors: Failure when the link stays down; Interruption.
void waitForLink(const BoardAccess& session, PortAddress port);

/// The same, but false instead of a Failure.
bool tryWaitForLink(const BoardAccess& session, PortAddress port);

} // namespace orvo::host
