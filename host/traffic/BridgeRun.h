// SPDX-License-Identifier: MIT
// A bridge from the making of its TAP to its report: a port as a network interface of Linux.
#pragma once

#include "device/BoardAccess.h"
#include "frames/FrameReport.h"
#include "frames/Interface.h"
#include "traffic/Bridge.h"
#include "traffic/TrafficRun.h"

#include <chrono>
#include <functional>
#include <optional>
#include <string>

namespace orvo::host {

class NetworkNamespace;

struct BridgeRequest {
    std::string tap;
    bool setUp = false;
    std::optional<NetworkAddress> address; ///< of the TAP
    PortOptions port;
    InstallationOptions installation;
};

/// What is different when the bridge is part of a lab.
struct BridgeSetting {
    /// Where the interfaces of the board's wires are; null: in the calling thread's namespace, like the TAP.
    const NetworkNamespace* wires = nullptr;
    /// Called once frames can pass; there is no notice and no progress line then.
    std::function<void()> ready = {};
};

struct BridgeReport {
    BridgeRequest request;
    BridgeTotals totals = {};
    Drops drops = {}; ///< all of them: at the TAP, in this program, in the plug-in, at the board
    std::chrono::duration<double> duration = {};
    TrafficAccount account = {};
};

/// Bridges until a signal asks for the end. Errors: Failure, UsageFailure.
BridgeReport runBridge(const BridgeRequest& request, const BridgeSetting& setting = {});

std::string textOfBridge(const BridgeReport& report);
nlohmann::ordered_json jsonOfBridge(const BridgeReport& report);

} // namespace orvo::host
