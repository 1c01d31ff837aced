// SPDX-License-Identifier: MIT
// Plugging and unplugging of wires.
#pragma once

#include "Port.h"

#include <functional>

namespace orvo::sim {

/// The port at a place, null where there is none.
using FindPort = std::function<Port*(PortPlace)>;

/// Plugs a wire into the port at a place, after the wire that is there was unplugged; a cable's both ends at
/// once. Throws WireError, with everything as it was. Under the bench mutex.
void plug(PortPlace place, const WireSpec& spec, const FindPort& findPort, SimTime now);

} // namespace orvo::sim
