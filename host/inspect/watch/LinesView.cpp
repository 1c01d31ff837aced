// SPDX-License-Identifier: MIT
#include "base/Output.h"
#include "frames/streams/StreamText.h"
#include "inspect/watch/WatchView.h"

#include <fmt/format.h>

namespace orvo::host {
namespace {

std::string rateText(const PortHistory& port, Counter frames, Counter bytes) {
    const auto rate = port.of(frames).perSecond;
    if (!rate) return "-";
    const auto mbit = mbitPerSecond(port.of(bytes));
    return fmt::format("{:.0f}/s", *rate) + (mbit ? fmt::format(" {:.1f} Mbit/s", *mbit) : "");
}

std::string linkWithSpeed(const PortHistory& port) {
    const std::string text = linkText(port);
    const auto mbit = linkMbit(port);
    return mbit == 0 ? text : fmt::format("{} {} Mbit/s", text, mbit);
}

/// Errors since the start; "*" marks counters that have risen since the last line.
std::string errorText(const PortHistory& port) {
    std::string text;
    forEachCounter([&](Counter counter, const CounterRow& row) {
        const auto& figure = port.of(counter);
        const auto count = row.isCount() ? figure.sinceStart : figure.value;
        if (!row.isTrouble() || count.value_or(0) == 0) return;
        text +=
            fmt::format("{}{} {}{}", text.empty() ? "" : ", ", row.name, *count, figure.hasRisen ? "*" : "");
    });
    return text.empty() ? "none" : text;
}

std::string lineOf(const WatchState& state, const PortHistory& port) {
    return fmt::format("{} port {} link {}; received {}; sent {}; errors {}\n", timeText(state.time),
                       port.port().text(), linkWithSpeed(port),
                       rateText(port, Counter::ReceivedPackets, Counter::WireReceivedBytes),
                       rateText(port, Counter::WireSentFrames, Counter::WireSentBytes), errorText(port));
}

std::string lineOf(const WatchState& state, const WatchedStream& stream) {
    return fmt::format("{} port {} stream {}: {:.1f} images/s; {} complete, {} incomplete; {} missing\n",
                       timeText(state.time), stream.port.text(), streamEndsText(stream.ends),
                       stream.imagesPerSecond, stream.complete, stream.incomplete,
                       counted(stream.missingPackets, "packet"));
}

class LinesView : public WatchView {
public:
    void show(const WatchState& state) override {
        for (const auto& news : state.news) notice(news);
        std::string text;
        for (const auto& port : state.ports) text += lineOf(state, port);
        for (const auto& stream : state.streams) text += lineOf(state, stream);
        print(text);
    }
};

} // namespace

std::unique_ptr<WatchView> makeLinesView() {
    return std::make_unique<LinesView>();
}

} // namespace orvo::host
