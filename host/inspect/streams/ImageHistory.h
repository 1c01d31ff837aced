// SPDX-License-Identifier: MIT
#pragma once

#include "frames/streams/StreamFigures.h"
#include "inspect/report/Chart.h"

#include <vector>

namespace orvo::host {

/// Images over time, all streams together, in intervals of equal length. One thread at a time.
class ImageHistory {
public:
    /// Intervals begin at `begin`; those before `from` are unknown, those behind the last of `intervals` are
    /// left out.
    ImageHistory(StreamTime begin, StreamTime from, StreamTime interval, std::size_t intervals);

    void add(const EndedImage& image);

    /// Images a second, complete and not; no series where there were none.
    Chart chart() const;

private:
    struct Interval {
        std::uint64_t whole = 0, recovered = 0, damaged = 0;
    };

    std::vector<std::optional<double>> ratesOf(std::uint64_t Interval::*images) const;

    const StreamTime begin_, interval_;
    const std::size_t first_, most_; // of the intervals that are known, and how many there may be
    std::vector<Interval> intervals_;
};

} // namespace orvo::host
