// SPDX-License-Identifier: MIT
// Faults of the host's single accesses to a board: register reads, queue reads, opening and configuring.
#pragma once

#include "faults/BoardCondition.h"
#include "faults/ScriptedFault.h"

#include <chrono>
#include <list>
#include <vector>

namespace orvo::sim {

/// What the host accesses: a register by its address, or one of the following, which lie above all addresses.
using Access = std::uint64_t;
inline constexpr Access queueReads = 0x1'0000'0000;      // plus the queue's number
inline constexpr Access queueDeliveries = 0x2'0000'0000; // likewise: what a read reports
inline constexpr Access openings = 0x3'0000'0000;
inline constexpr Access configurations = 0x4'0000'0000;

/// Holds the entries of a script that concern accesses, and entries that single calls armed, which come
/// first. Marks the board's condition while an armed entry is left, so that the usual path need not look
/// here. Any thread.
class AccessFaults {
public:
    explicit AccessFaults(BoardCondition& condition) noexcept : condition_(condition) {}

    struct Answer {
        int result = 0;          ///< 0: the access succeeds
        std::uint64_t value = 0; ///< what a register read gives then
    };
    /// Arms an entry for the next `times` accesses of this kind, after those already armed. With `replaces`,
    /// or 0 `times`, drops those first.
    void arm(Access access, Answer answer, unsigned times, bool replaces);

    struct Row {
        Access access;
        ScriptedFault* fault;                               // must outlive the row
        std::chrono::steady_clock::time_point stuckUntil{}; // of a busy flag
        bool isStuck = false;
    };
    /// Replaces the entries of an earlier script.
    void setScript(std::vector<Row> rows);

    /// No flag is stuck by the script.
    bool isSettled();

    /// The answer of the first fault that happens at this access, if any. `selectedPhy` is the PHY address in
    /// the MDIO master; it matters for reads of an MDIO result.
    std::optional<Answer> take(Access access, std::uint64_t selectedPhy = 0);

private:
    std::optional<Answer> takeCalled(Access access);
    std::optional<Answer> takeScripted(Row& row, std::uint64_t selectedPhy);
    static std::optional<Answer> readStuck(Row& row);

    struct Called {
        Called(Access called, FaultSpec spec) : access(called), fault(std::move(spec), 0, always, 0) {}
        Access access;
        ScriptedFault fault;
    };
    BoardCondition& condition_;
    std::mutex mutex_; // guards what follows
    std::list<Called> called_;
    std::vector<Row> scripted_;
};

} // namespace orvo::sim
