// SPDX-License-Identifier: MIT
#include "traffic/WireStreams.h"

#include "base/Failure.h"
#include "base/Signals.h"
#include "inspect/watch/QueueDrain.h"
#include "traffic/StreamOutput.h"
#include "traffic/WireSource.h"

#include <thread>
#include <utility>

namespace orvo::host {

class WireStreams::Listener {
public:
    Listener(const DynamicLibrary& hal, PortAddress port, std::chrono::nanoseconds interval)
        : port_(port), tap_(hal, port), streams_({}, interval),
          thread_([this](const std::stop_token& stop) { follow(stop); }) {}

    PortAddress port() const noexcept { return port_; }
    StreamsReport report() const { return streams_.report(); }
    void requestEnd() { thread_.request_stop(); }

    /// True once frames were missed, the first time.
    bool hasNewlyMissed() {
        const auto [received, sent] = tap_.missed();
        return received + sent != 0 && !std::exchange(hasMissed_, true);
    }

private:
    void follow(const std::stop_token& stop) {
        WireSource source(tap_);
        StreamOutput output(streams_);
        while (!stop.stop_requested())
            if (const auto frame = source.next())
                output.write(*frame);
            else
                output.flush();
    }

    const PortAddress port_;
    const CableTap tap_;
    LiveStreams streams_;
    bool hasMissed_ = false;
    std::jthread thread_; // last: it uses the others
};

WireStreams::WireStreams(const BoardAccess& access, const std::vector<PortAddress>& ports,
                         std::chrono::duration<double> interval) {
    if (!access.simulator) return;
    const SignalShield handledElsewhere; // the threads inherit it
    for (const auto port : ports)
        if (!access.server.empty() || hasOwnFeed(access, port))
            listen(*access.libraries.hal(), port,
                   std::chrono::duration_cast<std::chrono::nanoseconds>(interval));
}

void WireStreams::listen(const DynamicLibrary& hal, PortAddress port, std::chrono::nanoseconds interval) {
    try {
        listeners_.push_back(std::make_unique<Listener>(hal, port, interval));
    } catch (const Failure& failure) {
        news_.push_back(std::string("streams are left out: ") + failure.what());
    }
}

WireStreams::~WireStreams() {
    for (const auto& listener : listeners_)
        listener->requestEnd(); // all at once, so that their waits overlap
}

void WireStreams::addTo(StreamHistories& histories, double seconds) const {
    for (const auto& listener : listeners_) histories.add(listener->port(), listener->report(), seconds);
}

std::vector<std::string> WireStreams::takeNews() {
    for (const auto& listener : listeners_)
        if (listener->hasNewlyMissed())
            news_.push_back("frames at port " + listener->port().text() +
                            " came faster than they could be followed; packets in them count as missing");
    return std::exchange(news_, {});
}

} // namespace orvo::host
