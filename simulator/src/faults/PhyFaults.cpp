// Resets that take their time.
#include "PhyFaults.h"

namespace orvo::sim {

PhyTimes PhyFaults::atReset(PhyTimes usual, SimTime now) noexcept {
    for (ScriptedFault* const fault : faults_) {
        fault->supersede(now);
        if (!fault->occurs(now)) continue;
        fault->countInjection(now);
        if (fault->kind() == FaultKind::ResetEndless)
            usual.reset = never;
        else
            usual.negotiation = fault->spec().duration;
    }
    return usual;
}

} // namespace orvo::sim
