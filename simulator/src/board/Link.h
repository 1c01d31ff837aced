// SPDX-License-Identifier: MIT
// The link between a port and the far end of its cable.
#pragma once

#include "Port.h"

namespace orvo::sim {

/// Negotiates the port's link anew, for both ends of a cable, from what their PHYs and the cabling are now.
/// Under the bench mutex.
void renegotiate(Port& port) noexcept;

} // namespace orvo::sim
