// SPDX-License-Identifier: MIT
// Plugging and unplugging of wires, and the link between the two ends of a cable. All under the bench mutex.
#pragma once

#include "board/Port.h"

#include <functional>

namespace orvo::sim {

/// The port at a place, null where there is none.
using FindPort = std::function<Port*(PortPlace)>;

/// Unplugs the wire of the port at a place and plugs in another; a cable gets both its ends plugged in. On
/// WireError nothing has changed.
void plug(PortPlace place, const WireSpec& spec, const FindPort& findPort, SimTime now);

/// Negotiates the port's link again, for both ends of a cable, from the present state of PHYs and cabling.
void renegotiate(Port& port) noexcept;

/// Pulls the port's plug out of its cable or puts it back, and renegotiates.
void setPlugged(Port& port, bool plugged, SimTime now) noexcept;

/// Replaces the far end's offer from the moment `since` on, and renegotiates.
void setPartner(Port& port, OrvoSimPartner partner, SimTime since) noexcept;

} // namespace orvo::sim
