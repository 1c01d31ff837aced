// SPDX-License-Identifier: MIT
// Keeping the books while faults happen: what ports and plug-in counted before and after, and the ledger made
// of it.
#pragma once

#include "device/BoardAccess.h"
#include "device/MessageCounter.h"
#include "device/PortStatistics.h"
#include "inspect/faults/Ledger.h"

#include <optional>
#include <vector>

namespace orvo::host {

/// What the host itself counted at a port that it used.
struct HostCount {
    PortAddress port;
    std::optional<std::uint64_t> handed = {};   ///< frames handed to the plug-in; nothing: it sends none
    std::optional<std::uint64_t> received = {}; ///< frames from the plug-in; nothing: it does not ask for any
    std::optional<std::uint64_t> late = {}; ///< of these, behind one that was sent later, if somebody looked
};

/// One port of the simulated board, with what it did meanwhile.
struct PortBook {
    PortAddress address;
    std::optional<PortAddress> far = {}; ///< the port that its wire leads to, itself with a loopback plug
    OrvoSimPort did = {};                ///< frames since the beginning
    OrvoSimPortAccount account = {};
    const PortStatistics* statistics = nullptr; ///< null: the port was not used through the plug-in
    HostCount host = {};
    bool isUsed = false; ///< by the command, through the plug-in

    std::uint64_t arrived() const noexcept {
        return did.receivedFrames + did.receiveErrors + did.ignoredFrames;
    }
};

/// Made before the ports are opened. Does nothing where the session has no faults.
class FaultWatch {
public:
    /// The session outlives it. `ports` are those that will be used. Errors: Failure when the plug-in's
    /// messages, which are half of the account, are not to be had.
    FaultWatch(const BoardAccess& session, InstallationOptions options,
               const std::vector<PortAddress>& ports);
    /// Where a failure cut the run short: writes to standard error what was injected until then.
    ~FaultWatch();
    FaultWatch(const FaultWatch&) = delete;
    FaultWatch& operator=(const FaultWatch&) = delete;

    /// The ports have been opened. Waits, for a moment, until the plug-in takes action command reports where
    /// a storm of them is to come: it would wait, too.
    void begin() const;

    /// No fault happens any more; what they held back comes. Then waits, for a moment, until the plug-in has
    /// taken all action command reports.
    void end();

    /// The ledger, once the ports have ended; nothing without faults.
    std::optional<Ledger> settle(const std::vector<PortStatistics>& statistics,
                                 const std::vector<HostCount>& hostCounts);

private:
    std::vector<PortBook> closeBooks(const std::vector<PortStatistics>& statistics,
                                     const std::vector<HostCount>& hostCounts) const;

    Ledger injections() const;

    const BoardAccess& session_;
    const InstallationOptions options_;
    const std::vector<PortAddress> ports_;
    struct Opening {
        PortAddress address;
        OrvoSimPort state;
    };
    std::vector<Opening> openings_; // of all ports that there are
    std::optional<PluginLog> log_;
    std::optional<MessageCounter> messages_;
    const int exceptions_; // under way when the watch began
    bool isSettled_ = false;
};

/// Writes the ledger to standard error. Returns whether it found no difference; so it is without one.
bool tellLedger(const std::optional<Ledger>& ledger);

} // namespace orvo::host
