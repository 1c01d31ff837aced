// SPDX-License-Identifier: MIT
// The ports that a subcommand moves frames through.
#pragma once

#include "device/BoardAccess.h"
#include "device/Port.h"
#include "device/PortStatistics.h"

#include <list>
#include <vector>

namespace orvo::host {

/// One port or several, of one plug-in, opened and ended together. The session must outlive them.
class Ports {
public:
    /// A port that is named twice is there once.
    Ports(const BoardAccess& session, const std::vector<PortAddress>& addresses, bool resetBoards);

    /// One of those named.
    Port& at(PortAddress address);

    /// Opens all and waits for their links. Errors: Failure when one cannot be opened or has no link;
    /// Interruption.
    void open();

    /// The same for live traffic, which does not need a link to begin with: says which has none. A signal
    /// ends it early and without Interruption, since it ends the traffic that follows, too.
    void openLive();

    /// Begins the end of all, so that `finish` takes less time. Frames may still go through the interfaces.
    void stop();

    /// Ends all and returns what the plug-in counted.
    std::vector<PortStatistics> finish();

private:
    void openAll();

    const BoardAccess& session_;
    const PluginLog log_;
    Plugin plugin_;
    std::list<Port> ports_; // in the order of their first naming
};

} // namespace orvo::host
