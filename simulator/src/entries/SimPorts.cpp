// SPDX-License-Identifier: MIT
// Control entries: a port's PHY, and what the port did.
#include "Simulation.h"

using namespace orvo::sim;

int orvoSimSetIdleErrors(unsigned board, unsigned port, unsigned count) {
    Port* const found = simulation().port({board, port});
    if (!found) return OrvoSimNoSuchPlace;
    const std::lock_guard lock(benchMutex);
    found->phy().setIdleErrors(count);
    return 0;
}

int orvoSimSetPhyTimes(unsigned board, unsigned port, uint32_t resetMs, uint32_t negotiationMs) {
    Port* const found = simulation().port({board, port});
    if (!found) return OrvoSimNoSuchPlace;
    const std::lock_guard lock(benchMutex);
    found->phy().setTimes(resetMs, negotiationMs);
    return 0;
}

int orvoSimReadPort(unsigned board, unsigned port, struct OrvoSimPort* out) {
    if (!simulation().port({board, port})) return OrvoSimNoSuchPlace;
    if (!out) return OrvoSimBadValue;
    simulation().board(board)->report(port, *out);
    return 0;
}

int orvoSimPresetCounters(unsigned board, unsigned port, uint64_t value) {
    Port* const found = simulation().port({board, port});
    if (!found) return OrvoSimNoSuchPlace;
    found->presetCounters(value);
    return 0;
}

int orvoSimReadPhy(unsigned board, unsigned port, unsigned phyRegister, uint16_t* value) {
    Port* const found = simulation().port({board, port});
    if (!found) return OrvoSimNoSuchPlace;
    if (!value || phyRegister >= phyRegisters) return OrvoSimBadValue;
    const std::lock_guard lock(benchMutex);
    *value = found->phy().peek(phyRegister, simClock.now());
    return 0;
}
