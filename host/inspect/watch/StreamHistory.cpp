// SPDX-License-Identifier: MIT
#include "inspect/watch/StreamHistory.h"

#include <algorithm>

namespace orvo::host {
namespace {

/// By the images' own times, since readings are less regular. Without a new image the rate falls as far as
/// the pause shows.
double rateOf(const WatchedStream& before, const StreamFigures& now, double seconds) {
    if (now.begun == before.begun)
        return seconds > before.begunAt ? std::min(before.imagesPerSecond, 1 / (seconds - before.begunAt))
                                        : before.imagesPerSecond;
    const auto time = now.lastBegin - before.lastBegin;
    if (before.begun == 0 || time <= 0) return now.imagesPerSecond();
    return static_cast<double>(now.begun - before.begun) * 1e9 / static_cast<double>(time);
}

} // namespace

void WatchedStream::add(const StreamFigures& figures, double seconds) {
    imagesPerSecond = rateOf(*this, figures, seconds);
    if (figures.begun != begun) begunAt = seconds;
    silentSeconds = seconds - begunAt;
    begun = figures.begun;
    lastBegin = figures.lastBegin;
    hasRisen = figures.damaged() > incomplete || figures.missing > missingPackets;
    complete = figures.whole();
    incomplete = figures.damaged();
    missingPackets = figures.missing;
}

void StreamHistories::add(PortAddress port, const StreamsReport& report, double seconds) {
    std::erase_if(streams_, [&](const WatchedStream& known) { // an account has room for so many only
        return known.port == port && std::ranges::none_of(report.streams, [&](const StreamReport& stream) {
                   return known.isOf(port, stream);
               });
    });
    for (const auto& stream : report.streams) {
        auto known = std::ranges::find_if(
            streams_, [&](const WatchedStream& other) { return other.isOf(port, stream); });
        if (known == streams_.end())
            known =
                streams_.insert(known, WatchedStream{.port = port, .ends = stream.ends, .begunAt = seconds});
        known->add(stream.figures, seconds);
    }
}

} // namespace orvo::host
