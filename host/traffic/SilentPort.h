// SPDX-License-Identifier: MIT
#pragma once

#include "device/BoardAccess.h"

#include <string>

namespace orvo::host {

/// Why no frame may come at a port, and what to do: link, and the wire of a simulated board. Takes half a
/// second on a real board, whose PHY it reads.
std::string silenceReason(const BoardAccess& access, PortAddress port);

} // namespace orvo::host
