// SPDX-License-Identifier: MIT
// What every run with frames has around it: open ports, faults at work, and the counts at its end.
#pragma once

#include "device/Port.h"
#include "inspect/faults/FaultWatch.h"

#include <optional>
#include <vector>

namespace orvo::host {

/// What the plug-in counted during a run, and where every frame went when faults were injected.
struct TrafficAccount {
    std::vector<PortStatistics> statistics; ///< one entry a port
    std::optional<Ledger> ledger;           ///< with a fault script

    /// Adds "statistics" and, if there is a ledger, "faults" to a report.
    void addTo(nlohmann::ordered_json& document) const;
};

/// Opens the ports of a run and ends them. Construct it, call one of the `open` functions, move frames, call
/// `endFaults` or `stop`, then `finish`. One thread; `access` must outlive it.
class TrafficRun {
public:
    /// Errors: Failure when faults are asked for and the plug-in's messages cannot be read.
    TrafficRun(const BoardAccess& access, const InstallationOptions& options,
               const std::vector<PortAddress>& ports, bool resetBoards)
        : access_(access), faults_(access, options, ports), ports_(access, ports, resetBoards) {}

    /// The plug-in logs receive errors from now on. Errors: as of Plugin::watchCrcErrors.
    void watchCrcErrors() { ports_.watchCrcErrors(); }

    /// Opens the ports and waits for their links. Errors: as of Ports::open.
    void open();
    /// Opens the ports for live traffic, which may begin without a link. Errors: as of Ports::openLive.
    void openLive();
    /// Opens one port and does not look at its link. Errors: as of Port::open.
    void openAlone(PortAddress port);

    core::zume::PhysicalNetworkInterface& port(PortAddress address) { return ports_.at(address).interface(); }

    /// No fault is injected any more. Frames may still move.
    void endFaults() { faults_.end(); }
    /// The same, and begins to stop the ports, so that `finish` takes less time.
    void stop();

    /// Ends the ports and completes the account; `counts` are the frames that this program handled itself.
    TrafficAccount finish(const std::vector<HostCount>& counts);

private:
    const BoardAccess& access_;
    FaultWatch faults_; // sees the ports before they are opened
    Ports ports_;
};

} // namespace orvo::host
