// SPDX-License-Identifier: MIT
// Faults of a port's PHY.
#pragma once

#include "ScriptedFault.h"
#include "phy/Phy.h"

#include <vector>

namespace orvo::sim {

/// Under the bench mutex.
class PhyFaults final : public PhyResetWatch {
public:
    /// The faults outlive it.
    explicit PhyFaults(std::vector<ScriptedFault*> faults) : faults_(std::move(faults)) {}

    bool empty() const noexcept { return faults_.empty(); }
    PhyTimes atReset(PhyTimes usual, SimTime now) noexcept override;

private:
    const std::vector<ScriptedFault*> faults_;
};

} // namespace orvo::sim
