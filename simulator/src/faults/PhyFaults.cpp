// SPDX-License-Identifier: MIT
// Resets that take their time.
#include "PhyFaults.h"

#include <algorithm>

namespace orvo::sim {

/// Where several want to slow the negotiation down, the slowest does.
PhyTimes PhyFaults::atReset(PhyTimes usual, SimTime now) noexcept {
    SimTime slowest{};
    for (ScriptedFault* const fault : faults_) {
        fault->supersede(now);
        if (!fault->occurs(now)) continue;
        fault->countInjection(now);
        if (fault->kind() == FaultKind::ResetEndless)
            usual.reset = never;
        else
            slowest = std::max(slowest, fault->spec().duration);
    }
    if (slowest != SimTime::zero()) usual.negotiation = slowest;
    return usual;
}

} // namespace orvo::sim
