// SPDX-License-Identifier: MIT
// What a fault script means for one board.
#pragma once

#include "board/EventFaults.h"
#include "faults/AccessFaults.h"
#include "faults/PhyFaults.h"
#include "faults/QueueFaults.h"
#include "faults/WireFaults.h"

#include <array>
#include <memory>

namespace orvo::sim {

/// Any thread, apart from what its parts say. Also keeps the accounts that the board itself has no need of.
class BoardFaults {
public:
    /// `faults` are those of this board; they and the board outlive it. Under the bench mutex.
    BoardFaults(Board& board, const std::vector<ScriptedFault*>& faults);

    /// To be called at the host's accesses, without the bench mutex.
    void pass() { events_.pass(); }
    /// A write of the host, which the board refuses or not.
    void noteWrite(std::uint32_t address, std::uint64_t value, bool isRefused) noexcept;
    /// The entries that concern register reads.
    std::vector<AccessFaults::Row> accessRows() const;

    WireFaults& sent(unsigned port) noexcept { return ports_[port]->sent; }
    WireFaults& received(unsigned port) noexcept { return ports_[port]->received; }
    QueueFaults& queue(unsigned port) noexcept { return ports_[port]->queue; }
    PhyFaults& phy(unsigned port) noexcept { return ports_[port]->phy; }
    /// The host reads the port's action command queue.
    void noteActionRead(unsigned port) noexcept { events_.noteListener(port); }
    /// The host clears the port's receive queue.
    void noteClear(unsigned port);

    /// No fault happens any more; what is under way ends, and what is held back goes on.
    void end();

    /// Under the bench mutex.
    void account(unsigned port, OrvoSimPortAccount& out) noexcept;

private:
    struct PortFaults {
        WireFaults sent, received;
        QueueFaults queue;
        PhyFaults phy;
        // As they were when the script was loaded.
        std::uint64_t queuedBefore;
        std::uint64_t lossesBefore;
        SimTime downBefore;
        std::atomic<std::uint64_t> refused{0};
    };
    std::unique_ptr<PortFaults> makePort(unsigned port, const std::vector<ScriptedFault*>& faults);

    Board& board_;
    const std::vector<ScriptedFault*> faults_;
    std::vector<ScriptedFault*> armed_; // by writes
    EventFaults events_;
    std::array<std::unique_ptr<PortFaults>, maxPorts> ports_; // as many as the board has
};

} // namespace orvo::sim
