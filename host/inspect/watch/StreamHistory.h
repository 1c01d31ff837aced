// SPDX-License-Identifier: MIT
#pragma once

#include "device/PortAddress.h"
#include "frames/streams/StreamAccount.h"

#include <cstdint>
#include <vector>

namespace orvo::host {

/// A stream through a port, as of the last reading; sums since the first one.
struct WatchedStream {
    PortAddress port;
    StreamEnds ends;
    double imagesPerSecond = 0; ///< lately
    std::uint64_t complete = 0;
    std::uint64_t incomplete = 0; ///< or absent
    std::uint64_t missingPackets = 0;
    bool hasRisen = false;    ///< one of these two, since the reading before
    double silentSeconds = 0; ///< since the last image
    // For the rate
    std::uint64_t begun = 0; ///< images
    StreamTime lastBegin = 0;
    double begunAt = 0; ///< the reading that saw it

    bool isOf(PortAddress at, const StreamReport& report) const { return port == at && ends == report.ends; }
    void add(const StreamFigures& figures, double seconds);
};

/// The streams of several ports, in the order in which they were first seen.
class StreamHistories {
public:
    /// All streams of a port; `seconds` is when, from an arbitrary start.
    void add(PortAddress port, const StreamsReport& report, double seconds);
    const std::vector<WatchedStream>& all() const noexcept { return streams_; }

private:
    std::vector<WatchedStream> streams_;
};

} // namespace orvo::host
