// SPDX-License-Identifier: MIT
// Faults that act on the whole board or a cable, at moments or after frames.
#pragma once

#include "faults/ScriptedFault.h"

#include <orvo/sim/orvo_sim.h>

#include <vector>

namespace orvo::sim {

class Board;

/// They begin and end at the first access of the host after their time has come. Any thread that does not
/// hold the bench mutex.
class EventFaults {
public:
    /// Board and faults must outlive it.
    EventFaults(Board& board, const std::vector<ScriptedFault*>& faults);

    /// Begins what is due, and ends what is over.
    void pass();
    /// The host read action command reports of the port: storms there can begin.
    void noteListener(unsigned port) noexcept { listened_.fetch_or(1U << port); }
    bool hasListener(unsigned port) const noexcept { return (listened_.load() >> port & 1) != 0; }
    /// Nothing is under way or waits to begin.
    bool isSettled();
    /// Ends everything at once.
    void end();

private:
    struct Row {
        ScriptedFault* fault;
        bool isDue = false; // it waits until it can begin
        bool isUnderWay = false;
        SimTime until{};
        OrvoSimPartner partner = OrvoSimPartner1000; // to restore after a flap
    };
    void pass(Row& row, SimTime now);
    bool tryBegin(Row& row);
    void finish(Row& row, SimTime since);
    bool beginFlap(Row& row);
    bool beginAbsence();
    void storm(ScriptedFault& fault);

    Board& board_;
    std::atomic<unsigned> listened_{0}; // bit p: the host has read reports of port p
    std::mutex mutex_;                  // taken before the bench mutex; guards what follows
    std::vector<Row> rows_;
};

} // namespace orvo::sim
