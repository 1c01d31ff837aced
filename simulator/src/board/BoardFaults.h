// SPDX-License-Identifier: MIT
// The part of a fault script that concerns one board.
#pragma once

#include "board/EventFaults.h"
#include "faults/AccessFaults.h"
#include "faults/PhyFaults.h"
#include "faults/QueueFaults.h"
#include "faults/WireFaults.h"

#include <array>
#include <memory>

namespace orvo::sim {

/// Any thread, unless a part says otherwise. Also counts what only accounts need, so that boards without a
/// script need not.
class BoardFaults {
public:
    /// `faults` are those of this board; they and the board must outlive it. Under the bench mutex.
    BoardFaults(Board& board, const std::vector<ScriptedFault*>& faults);

    /// Begins and ends what is due. Called at accesses of the host, without the bench mutex.
    void pass() { events_.pass(); }
    /// The host wrote a register; `isRefused` tells that the board did not take it.
    void noteWrite(std::uint32_t address, std::uint64_t value, bool isRefused) noexcept;
    /// The entries that concern register reads.
    std::vector<AccessFaults::Row> accessRows() const;

    WireFaults& sent(unsigned port) noexcept { return ports_[port]->sent; }
    WireFaults& received(unsigned port) noexcept { return ports_[port]->received; }
    QueueFaults& queue(unsigned port) noexcept { return ports_[port]->queue; }
    PhyFaults& phy(unsigned port) noexcept { return ports_[port]->phy; }
    /// The host read the port's action command queue.
    void noteActionRead(unsigned port) noexcept { events_.noteListener(port); }
    /// The host cleared the port's receive queue; `catchUp` came before.
    void noteClear(unsigned port);
    /// Once the script is over, reads are not followed one by one: counts what was read since. Before an
    /// account; without the bench mutex.
    void catchUp(unsigned port);

    /// All faults have happened or were ended, and none lasts. Stays so; reads need not come here any more.
    bool isOver();
    /// Ends all faults: the board comes back, cables are plugged in, frames that were held back go on.
    void end();

    /// Under the bench mutex.
    void account(unsigned port, OrvoSimPortAccount& out) noexcept;

private:
    struct PortFaults {
        WireFaults sent, received;
        QueueFaults queue;
        PhyFaults phy;
        // Counts at the moment when the script was loaded.
        std::uint64_t queuedBefore;
        std::uint64_t lossesBefore;
        SimTime downBefore;
        std::atomic<std::uint64_t> refused{0};
    };
    std::unique_ptr<PortFaults> makePort(unsigned port, const std::vector<ScriptedFault*>& faults);

    Board& board_;
    const std::vector<ScriptedFault*> faults_;
    std::vector<ScriptedFault*> armed_; // armed by a write of the host
    EventFaults events_;
    std::array<std::unique_ptr<PortFaults>, maxPorts> ports_; // as many as the board has
};

} // namespace orvo::sim
