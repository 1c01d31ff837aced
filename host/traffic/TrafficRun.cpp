// SPDX-License-Identifier: MIT
#include "traffic/TrafficRun.h"

#include "base/Output.h"
#include "frames/FrameReport.h"

#include <nlohmann/json.hpp>

namespace orvo::host {

void tellEvent(const PortEvent& event) {
    notice(eventText(event));
}

std::string TrafficAccount::text() const {
    std::string text;
    for (const auto& [port, count] : events)
        if (count != 0) text += reportLine("events", grouped(count) + " at port " + port.text());
    return text + statisticsText(statistics);
}

void TrafficAccount::addTo(nlohmann::ordered_json& document) const {
    document["statistics"] = statisticsJson(statistics);
    auto& list = document["events"] = nlohmann::ordered_json::array();
    for (const auto& [port, count] : events) list.push_back({{"port", port.text()}, {"count", count}});
    if (ledger) document["faults"] = ledgerJson(*ledger);
}

TrafficRun::TrafficRun(const BoardAccess& access, const BoardOptions& options,
                       const std::vector<PortAddress>& ports, bool resetBoards,
                       const PortEvents::Take& takeEvent)
    : access_(access), faults_(access, options, ports), ports_(access, ports, resetBoards) {
    for (auto& port : ports_.all()) events_.emplace_back(port.interface(), port.address(), takeEvent);
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

std::vector<EventCount> TrafficRun::events() const {
    std::vector<EventCount> counts;
    for (const auto& events : events_) counts.push_back({events.port(), events.count()});
    return counts;
}

TrafficAccount TrafficRun::finish(const std::vector<HostCount>& counts) {
    auto statistics = ports_.finish();
    for (auto& events : events_) events.finish();
    if (access_.simulator) access_.simulator->flushWires();
    auto ledger = faults_.settle(statistics, counts);
    return {std::move(statistics), events(), std::move(ledger)};
}

} // namespace orvo::host
