// SPDX-License-Identifier: MIT
#include "traffic/TrafficRun.h"

#include <nlohmann/json.hpp>

namespace orvo::host {

void TrafficAccount::addTo(nlohmann::ordered_json& document) const {
    document["statistics"] = statisticsJson(statistics);
    if (ledger) document["faults"] = ledgerJson(*ledger);
}

void TrafficRun::open() {
    ports_.open();
    faults_.begin();
}

void TrafficRun::openLive() {
    ports_.openLive();
    faults_.begin();
}

void TrafficRun::openAlone(PortAddress port) {
    ports_.at(port).open();
    faults_.begin();
}

void TrafficRun::stop() {
    faults_.end();
    ports_.stop();
}

TrafficAccount TrafficRun::finish(const std::vector<HostCount>& counts) {
    auto statistics = ports_.finish();
    if (access_.simulator) access_.simulator->flushWires();
    auto ledger = faults_.settle(statistics, counts);
    return {std::move(statistics), std::move(ledger)};
}

} // namespace orvo::host
