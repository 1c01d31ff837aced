// SPDX-License-Identifier: MIT
// Opening and ending of ports.
#include "device/Ports.h"

#include "base/Failure.h"
#include "base/Notice.h"
#include "base/Progress.h"
#include "base/Signals.h"
#include "device/LinkWait.h"

#include <algorithm>

namespace orvo::host {
namespace {

std::string progressText() {
    return endRequested() == 0 ? "preparing the ports (resetting a board takes about 5 s)"
                               : "ending as soon as the board's reset is over";
}

} // namespace

Ports::Ports(const BoardAccess& session, const std::vector<PortAddress>& addresses, bool resetBoards)
    : session_(session), log_(session.installation), plugin_(session.installation) {
    for (auto i = addresses.begin(); i != addresses.end(); ++i)
        if (std::find(addresses.begin(), i, *i) == i) ports_.emplace_back(plugin_, log_, *i, resetBoards);
}

Port& Ports::at(PortAddress address) {
    return *std::find_if(ports_.begin(), ports_.end(),
                         [&](const Port& port) { return port.address() == address; });
}

void Ports::openAll() {
    for (auto& port : ports_) {
        port.open();
        throwIfEndRequested();
    }
}

void Ports::open() {
    const Progress progress(progressText);
    openAll();
    for (const auto& port : ports_) waitForLink(session_, port.address());
}

void Ports::openLive() {
    const Progress progress(progressText);
    try {
        openAll();
        for (const auto& port : ports_)
            if (!tryWaitForLink(session_, port.address()))
                notice("port " + port.address().text() + " has no link yet; check the cable and the far end");
    } catch (const Interruption&) { // seen again by the traffic, which then ends before its first frame
    }
}

void Ports::stop() {
    for (auto& port : ports_) port.interface().stop();
}

std::vector<PortStatistics> Ports::finish() {
    std::vector<PortStatistics> statistics;
    for (auto& port : ports_) statistics.push_back({port.address(), port.finish()});
    return statistics;
}

} // namespace orvo::host
