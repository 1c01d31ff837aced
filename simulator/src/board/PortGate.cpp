// SPDX-License-Identifier: MIT
// The slow half of the gate.
#include "PortGate.h"

namespace orvo::sim {

/// Once the moment has come, `always` takes its place, so that later frames need not ask the clock.
bool PortGate::hasCome(SimTime from) const noexcept {
    if (simClock.now() < from) return false;
    passesFrom_.compare_exchange_strong(from, always, std::memory_order_relaxed);
    return true;
}

} // namespace orvo::sim
