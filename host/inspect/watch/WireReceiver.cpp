// SPDX-License-Identifier: MIT
// Emptying of receive queues.
#include "inspect/watch/WireReceiver.h"

#include "base/Signals.h"

#include <unistd.h>

#include <algorithm>
#include <memory>
#include <string_view>

namespace orvo::host {
namespace {

constexpr std::uint32_t readTimeoutMs = 100;
constexpr useconds_t failurePauseUs = 100'000; // a failing read returns at once

bool bringsFrames(std::string_view wire) {
    constexpr std::string_view beginnings[] = {"pcap:", "tap:", "packet:"};
    return std::ranges::any_of(beginnings, [&](auto beginning) { return wire.starts_with(beginning); });
}

void receive(const std::stop_token& stop, const BoardLibraries& libraries, PortAddress port) {
    const auto readQueue =
        libraries.hal().require<decltype(::OHalDataQueueReadBufferLong)>("OHalDataQueueReadBufferLong");
    const auto clearQueue = libraries.hal().require<decltype(::OHalDataQueueClear)>("OHalDataQueueClear");
    std::unique_ptr<void, int (*)(void*)> device(nullptr, libraries.putDevice);
    while (!stop.stop_requested()) {
        if (!device) device.reset(libraries.getDevice(static_cast<int>(port.board)));
        std::uint32_t word = 0; // a read of more would wait until there is as much
        const int result =
            device ? readQueue(device.get(), port.port, &word, sizeof word, readTimeoutMs) : HalNotLoaded;
        if (result == HalTimeout || (result >= 0 && clearQueue(device.get(), port.port) == 0)) continue;
        device.reset(); // the board is gone, or has been
        usleep(failurePauseUs);
    }
}

/// Other programs use these boards too, and read their own frames.
bool isShared(const BoardLibraries& libraries) {
    const auto server = libraries.hal().find<decltype(::orvoSimServer)>("orvoSimServer");
    return server && server();
}

} // namespace

WireReceiver::WireReceiver(const BoardAccess& session, const std::vector<PortAddress>& ports) {
    if (!session.simulator || isShared(session.libraries)) return;
    const SignalShield handledElsewhere; // the threads inherit it
    for (const auto port : ports)
        if (bringsFrames(session.simulator->wire(port)))
            threads_.emplace_back([&libraries = session.libraries, port](const std::stop_token& stop) {
                receive(stop, libraries, port);
            });
}

WireReceiver::~WireReceiver() {
    for (auto& thread : threads_) thread.request_stop(); // all at once: each takes a while
}

} // namespace orvo::host
