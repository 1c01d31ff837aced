// SPDX-License-Identifier: MIT
// Faults of register reads.
#pragma once

#include "ScriptedFault.h"

#include <chrono>
#include <vector>

namespace orvo::sim {

/// Any thread.
class RegisterFaults {
public:
    struct Answer {
        int result = 0; ///< 0: `value` was read
        std::uint64_t value = 0;
    };

    /// `fault` answers reads of the register at this address. It outlives this.
    void add(ScriptedFault& fault, std::uint32_t address);

    /// What a fault makes of a read while the MDIO master has this PHY selected.
    std::optional<Answer> read(std::uint32_t address, std::uint64_t selectedPhy);

private:
    struct Row {
        ScriptedFault* fault;
        std::uint32_t address;
        std::chrono::steady_clock::time_point stuckUntil{}; // under the mutex
        bool isStuck = false;
    };
    std::optional<Answer> readStuck(Row& row);

    std::mutex mutex_;
    std::vector<Row> rows_;
};

} // namespace orvo::sim
