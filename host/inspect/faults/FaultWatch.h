// SPDX-License-Identifier: MIT
// Compares all counters before and after a run with faults.
#pragma once

#include "device/BoardAccess.h"
#include "device/PluginLog.h"
#include "inspect/faults/RunCounts.h"

#include <optional>
#include <vector>

namespace orvo::host {

/// Made before the ports are opened. Does nothing where the board access has no faults.
class FaultWatch {
public:
    /// `access` must outlive it. `ports` are those that will be used. Errors: Failure when the plug-in's
    /// messages, which the account needs, are not available.
    FaultWatch(const BoardAccess& access, BoardOptions options, std::vector<PortAddress> ports);
    /// Where a failure cut the run short, writes the faults injected so far to standard error.
    ~FaultWatch();
    FaultWatch(const FaultWatch&) = delete;
    FaultWatch& operator=(const FaultWatch&) = delete;

    /// To be called once the ports are open. Where the script has action command reports, waits a moment
    /// until the plug-in reads them: a board does not keep them for a reader that comes later.
    void begin() const;

    /// Ends the faults; frames that they held back arrive. Then waits a moment until the plug-in has taken
    /// all action command reports.
    void end();

    /// The ledger, once the ports are closed; nothing without faults.
    std::optional<Ledger> settle(const std::vector<PortStatistics>& statistics,
                                 const std::vector<HostCount>& hostCounts);

private:
    struct Before {
        PortAddress address;
        OrvoSimPort counts;
    };

    std::vector<PortCounts> countsOf(const std::vector<PortStatistics>& statistics,
                                     const std::vector<HostCount>& hostCounts) const;
    Ledger injections() const;

    const BoardAccess& access_;
    const BoardOptions options_;
    const std::vector<PortAddress> ports_;
    std::vector<Before> before_; // of all ports that exist
    std::optional<PluginLog> log_;
    std::optional<MessageCounter> messages_;
    const int exceptionsBefore_;
    bool isSettled_ = false;
};

/// Writes the ledger to standard error. Returns whether it passed; without a ledger there is nothing to fail.
bool printLedger(const std::optional<Ledger>& ledger);

} // namespace orvo::host
