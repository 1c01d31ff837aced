// SPDX-License-Identifier: MIT
// Everything that host, plug-in and board counted during a run with faults, and the balances between them.
#pragma once

#include "device/PluginLog.h"
#include "device/PortStatistics.h"
#include "inspect/faults/Ledger.h"

#include <orvo/sim/orvo_sim.h>

#include <optional>
#include <vector>

namespace orvo::host {

/// What this program itself counted at a port that it used.
struct HostCount {
    PortAddress port;
    std::optional<std::uint64_t> handed = {};   ///< frames handed to the plug-in; nothing: it sends none
    std::optional<std::uint64_t> received = {}; ///< frames from the plug-in; nothing: it asks for none
    std::optional<std::uint64_t> late = {};     ///< received behind a frame sent later; nothing: not checked
};

/// One port of the simulated board, from the beginning of the run to its end.
struct PortCounts {
    PortAddress address;
    std::optional<PortAddress> far = {}; ///< the port at the other end of its wire; itself with a loopback
    OrvoSimPort board = {};              ///< frames during the run
    OrvoSimPortAccount account = {};
    const PortStatistics* statistics = nullptr; ///< null: the port was not used through the plug-in
    HostCount host = {};

    std::uint64_t arrived() const noexcept {
        return board.receivedFrames + board.receiveErrors + board.ignoredFrames;
    }
};

struct RunCounts {
    const std::vector<OrvoSimFault>& faults;
    const std::vector<PortCounts>& ports;
    const MessageCounter& messages;
};

/// Adds what the faults moved: as a balance where each injection moves a counter by one and nothing else
/// does, and as a movement otherwise.
void addEffects(const RunCounts& run, Ledger& ledger);

/// Adds the account of every frame, port by port: sent, on the wire, received, handed to the host.
void addFrameBalances(const RunCounts& run, Ledger& ledger);

} // namespace orvo::host
