// SPDX-License-Identifier: MIT
// Faults of a port's PHY: resets that do not end, and slow negotiations.
#pragma once

#include "faults/ScriptedFault.h"
#include "phy/Phy.h"

#include <algorithm>
#include <vector>

namespace orvo::sim {

/// Under the bench mutex.
class PhyFaults final : public PhyResetWatch {
public:
    /// The faults must outlive it.
    explicit PhyFaults(std::vector<ScriptedFault*> faults) : faults_(std::move(faults)) {}

    bool empty() const noexcept { return faults_.empty(); }

    /// When several faults slow down one negotiation, the slowest counts.
    PhyTimes atReset(PhyTimes usual, SimTime now) noexcept override {
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

private:
    const std::vector<ScriptedFault*> faults_;
};

} // namespace orvo::sim
