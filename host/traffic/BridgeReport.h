// SPDX-License-Identifier: MIT
// What a bridge was asked for, and what it did, as text, JSON and metrics.
#pragma once

#include "device/BoardAccess.h"
#include "frames/FrameReport.h"
#include "frames/Interface.h"
#include "frames/streams/StreamAccount.h"
#include "inspect/streams/LossPlace.h"
#include "traffic/Bridge.h"
#include "traffic/TrafficRun.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace orvo::host {

struct BridgeRequest {
    std::string tap;
    bool setUp = false;
    bool noOffload = false;                ///< the host finishes and cuts its segments itself
    std::optional<NetworkAddress> address; ///< of the TAP
    std::string recording;                 ///< file for both directions; empty: none
    std::string metricsFile;               ///< rewritten once a second; empty: none
    PortOptions port;
    BoardOptions boards;
};

struct BridgeRecordingReport {
    std::uint64_t recordedFrames = 0;
    std::uint64_t omittedFrames = 0;
};

struct BridgeReport {
    BridgeRequest request;
    BridgeTotals totals = {};
    Drops drops = {}; ///< all of them: at the TAP, in this program, in the plug-in, at the board
    std::chrono::duration<double> duration = {};
    StreamsReport streams = {}; ///< of cameras behind the port
    PortTroubles troubles = {};
    std::optional<BridgeRecordingReport> recording = {}; ///< once it is complete
    TrafficAccount account = {};                         ///< of a running bridge only the events

    /// Adds the drops that `totals` and `account` show to those that are there already.
    void addOwnDrops();
};

std::string bridgeText(const BridgeReport& report);
nlohmann::ordered_json bridgeJson(const BridgeReport& report);
/// In Prometheus' text exposition format.
std::string metricsOfBridge(const BridgeReport& report);

} // namespace orvo::host
