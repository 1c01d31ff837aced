// SPDX-License-Identifier: MIT
#pragma once

#include "device/BoardAccess.h"
#include "device/Port.h"
#include "device/PortStatistics.h"

#include <list>
#include <vector>

namespace orvo::host {

/// The ports that a subcommand uses, opened and ended together. `access` must outlive them.
class Ports {
public:
    /// An address that occurs twice makes one port.
    Ports(const BoardAccess& access, const std::vector<PortAddress>& addresses, bool resetBoards);

    /// `address` is one of those given.
    Port& at(PortAddress address);

    /// Opens all ports and waits for their links. Errors: Failure when a port cannot be opened or has no
    /// link; Interruption.
    void open();

    /// As `open`, for live traffic, which may start without a link: prints a notice for each port that has
    /// none. A signal makes it return early, without Interruption, and then ends the traffic that follows.
    void openLive();

    /// Starts to stop all ports, so that `finish` takes less time. Frames may still pass.
    void stop();

    /// Ends all ports and returns what the plug-in counted.
    std::vector<PortStatistics> finish();

private:
    void openAll();

    const BoardAccess& access_;
    const PluginLog log_;
    Plugin plugin_;
    std::list<Port> ports_; // in the order of the addresses
};

} // namespace orvo::host
