// SPDX-License-Identifier: MIT
// What every run with frames has around it: open ports, faults at work, and the counts at its end.
#pragma once

#include "device/Port.h"
#include "device/PortEvents.h"
#include "inspect/faults/FaultWatch.h"

#include <list>
#include <optional>
#include <string>
#include <vector>

namespace orvo::host {

struct EventCount {
    PortAddress port;
    std::uint64_t events = 0;
};

/// What the plug-in counted and reported during a run, and where every frame went when faults were injected.
struct TrafficAccount {
    std::vector<PortStatistics> statistics; ///< one entry a port
    std::vector<EventCount> events;         ///< likewise
    std::optional<Ledger> ledger;           ///< with a fault script

    /// Ports with events, and the statistics: the last lines of a report.
    std::string text() const;
    /// Adds "statistics", "events" and, if there is a ledger, "faults" to a report.
    void addTo(nlohmann::ordered_json& document) const;
};

/// Prints an event as a notice. Any thread.
void tellEvent(const PortEvent& event);

/// Opens the ports of a run, takes their events on threads of their own, and ends them. Construct it, call
/// one of the `open` functions, move frames, call `endFaults` or `stop`, then `finish`. One thread; `access`
/// must outlive it.
class TrafficRun {
public:
    /// `takeEvent` as in PortEvents. Errors: Failure when faults are asked for and the plug-in's messages
    /// cannot be read.
    TrafficRun(const BoardAccess& access, const BoardOptions& options, const std::vector<PortAddress>& ports,
               bool resetBoards, const PortEvents::Take& takeEvent = tellEvent);

    /// The plug-in logs receive errors from now on. Errors: as of Plugin::watchCrcErrors.
    void watchCrcErrors() { ports_.watchCrcErrors(); }

    /// Opens the ports and waits for their links. Errors: as of Ports::open.
    void open();
    /// Opens the ports for live traffic, which may begin without a link. Errors: as of Ports::openLive.
    void openLive();
    /// Opens one port and does not look at its link. Errors: as of Port::open.
    void openAlone(PortAddress port);

    core::zume::PhysicalNetworkInterface& port(PortAddress address) { return device(address).interface(); }
    Port& device(PortAddress address) { return ports_.at(address); }

    /// Any thread.
    std::vector<EventCount> events() const;

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
    std::list<PortEvents> events_;
};

} // namespace orvo::host
