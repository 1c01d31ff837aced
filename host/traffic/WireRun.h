// SPDX-License-Identifier: MIT
// Listening at a port's cable, for subcommands with --at wire.
#pragma once

#include "device/BoardAccess.h"
#include "traffic/Capture.h"
#include "traffic/TrafficRun.h"
#include "traffic/WireSource.h"

#include <functional>

namespace orvo::host {

/// Errors: UsageFailure for what cannot be done at the wire, because the port is not opened, or there is no
/// such wire.
void checkWire(const PortOptions& port, const BoardAccess& access);

struct WireRun {
    WireCounts counts;
    TrafficAccount account = {}; ///< of a port that was opened
};

/// Takes frames from the source until its own end; then calls `ending`, as of Capture::run.
using WireRecorder = std::function<void(FrameSource& source, const Capture::Call& ending)>;

/// At a server's board, the port is not opened: other programs use it. A port of this process's own boards is
/// opened, and its frames are taken and dropped, so that frames pass. Errors: as of CableTap and TrafficRun.
WireRun runAtWire(const BoardAccess& access, const BoardOptions& boards, const PortOptions& port,
                  const WireRecorder& record);

std::string wireText(const WireCounts& wire, PortAddress port);
/// "received", "sent", "died" and "missed".
nlohmann::ordered_json wireJson(const WireCounts& wire);

} // namespace orvo::host
