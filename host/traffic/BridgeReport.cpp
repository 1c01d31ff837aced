// SPDX-License-Identifier: MIT
// The bridge's report as text and as JSON.
#include "traffic/BridgeRun.h"

#include <fmt/format.h>

namespace orvo::host {

std::string textOfBridge(const BridgeReport& report) {
    const auto port = report.request.port.address.text();
    const auto& tap = report.request.tap;
    return countLine("to port", report.totals.toPort, "from " + tap + " to port " + port) +
           countLine("to TAP", report.totals.toTap, "from port " + port + " to " + tap) +
           report.drops.lines() + durationLine(report.duration) + textOf(report.account.statistics);
}

nlohmann::ordered_json jsonOfBridge(const BridgeReport& report) {
    nlohmann::ordered_json document = {{"port", report.request.port.address.text()},
                                       {"tap", report.request.tap},
                                       {"toPort", jsonOfCount(report.totals.toPort)},
                                       {"toTap", jsonOfCount(report.totals.toTap)},
                                       {"dropped", report.drops.json()},
                                       {"seconds", report.duration.count()}};
    report.account.addTo(document);
    return document;
}

} // namespace orvo::host
