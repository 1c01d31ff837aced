// SPDX-License-Identifier: MIT
// Faults that befall a board from outside: at moments, or after frames.
#pragma once

#include "faults/ScriptedFault.h"

#include <orvo/sim/orvo_sim.h>

#include <vector>

namespace orvo::sim {

class Board;

/// They happen, and end, at the first access of the host to the board once their time has come. Any thread
/// that does not hold the bench mutex.
class EventFaults {
public:
    /// Board and faults outlive it.
    EventFaults(Board& board, const std::vector<ScriptedFault*>& faults);

    /// Brings about what is due, and ends what is over.
    void pass();
    /// The host reads action command reports of the port, so that a storm finds somebody.
    void noteListener(unsigned port) noexcept { listened_.fetch_or(1U << port); }
    bool hasListener(unsigned port) const noexcept { return (listened_.load() >> port & 1) != 0; }
    /// Ends what is under way.
    void end();

private:
    struct Row {
        ScriptedFault* fault;
        bool isDue = false; // and waits until it can happen
        bool isUnderWay = false;
        SimTime until{};
        OrvoSimPartner partner = OrvoSimPartner1000; // what a flap takes away
    };
    void pass(Row& row, SimTime now);
    bool tryBegin(Row& row);
    void finish(Row& row, SimTime since);
    bool beginFlap(Row& row);
    bool beginAbsence();
    void storm(ScriptedFault& fault);

    Board& board_;
    std::atomic<unsigned> listened_{0}; // ports, by bit
    std::mutex mutex_;                  // taken before the bench mutex; guards what follows
    std::vector<Row> rows_;
};

} // namespace orvo::sim
