// SPDX-License-Identifier: MIT
#include "inspect/watch/QueueDrain.h"

#include "base/Signals.h"

#include <unistd.h>

#include <algorithm>
#include <memory>
#include <string_view>

namespace orvo::host {
namespace {

constexpr std::uint32_t readTimeoutMs = 100;
constexpr useconds_t failurePauseUs = 100'000; // a failing read returns at once

void drain(const std::stop_token& stop, const BoardLibraries& libraries, PortAddress port) {
    decltype(&::OHalDataQueueReadBufferLong) const readQueue =
        libraries.require("OHalDataQueueReadBufferLong");
    decltype(&::OHalDataQueueClear) const clearQueue = libraries.require("OHalDataQueueClear");
    std::unique_ptr<void, int (*)(void*)> device(nullptr, libraries.putDevice);
    while (!stop.stop_requested()) {
        if (!device) device.reset(libraries.getDevice(static_cast<int>(port.board)));
        std::uint32_t word = 0; // a longer read would wait until that many words have arrived
        const int result =
            device ? readQueue(device.get(), port.port, &word, sizeof word, readTimeoutMs) : HalNotLoaded;
        if (result == HalTimeout || (result >= 0 && clearQueue(device.get(), port.port) == 0)) continue;
        device.reset(); // the board is gone, or was gone for a while
        usleep(failurePauseUs);
    }
}

} // namespace

bool hasOwnFeed(const BoardAccess& access, PortAddress port) {
    if (!access.simulator || !access.server.empty()) return false;
    constexpr std::string_view beginnings[] = {"pcap:", "tap:", "packet:"};
    const auto wire = access.simulator->wire(port);
    return std::ranges::any_of(beginnings, [&](auto beginning) { return wire.starts_with(beginning); });
}

QueueDrain::QueueDrain(const BoardAccess& access, const std::vector<PortAddress>& ports) {
    const SignalShield handledElsewhere; // the threads inherit it
    for (const auto port : ports)
        if (hasOwnFeed(access, port)) // programs of shared boards read their own frames
            threads_.emplace_back([&libraries = access.libraries, port](const std::stop_token& stop) {
                drain(stop, libraries, port);
            });
}

QueueDrain::~QueueDrain() {
    for (auto& thread : threads_) thread.request_stop(); // all at once, so that their last reads overlap
}

} // namespace orvo::host
