// SPDX-License-Identifier: MIT
// What a port's readings come to: growth, rates and a short history.
#pragma once

#include "inspect/watch/Sample.h"

#include <deque>
#include <optional>
#include <vector>

namespace orvo::host {

/// How far a counter went from `before` to `now` in `seconds`. It may have passed its largest value; where
/// that would have taken more than can pass a port in that time, it was set to 0 in between, and what it
/// shows now came since.
std::uint64_t growthOf(const CounterRow& row, std::uint64_t before, std::uint64_t now, double seconds);

/// What is known of one value.
struct Figure {
    std::optional<std::uint64_t> value;      ///< as read last; nothing when that failed
    std::optional<std::uint64_t> total;      ///< of a count: goes on where the counter begins again
    std::optional<std::uint64_t> sinceStart; ///< of a count; nothing before it was read for the first time
    std::optional<double> perSecond;         ///< of a count, between its last two readings
    bool hasRisen = false;                   ///< from one to the other

    bool operator==(const Figure&) const = default;
};

/// The readings of one port. Readings that fail leave gaps: the next one that does not counts for all the
/// time since the last, so that nothing is missed. Another board in the place of the old one begins anew.
class PortTrack {
public:
    PortTrack(PortAddress port, std::size_t historyLength) : port_(port), historyLength_(historyLength) {}

    PortAddress port() const noexcept { return port_; }
    void add(const Sample& sample);

    const Figure& of(Counter counter) const { return figures_[static_cast<std::size_t>(counter)]; }

    /// Counts per second, states as they are; nothing where unknown. The last entry is the latest.
    using History = std::deque<std::optional<double>>;
    const History& history(Counter counter) const { return histories_[static_cast<std::size_t>(counter)]; }
    /// When, for each entry.
    const std::deque<double>& times() const noexcept { return times_; }

private:
    struct Reading {
        double seconds;
        std::uint64_t value;
    };

    void addCount(std::size_t which, std::optional<std::uint64_t> value, double seconds);
    void remember(const Sample& sample);

    PortAddress port_;
    std::size_t historyLength_;
    std::uint32_t serial_ = 0;
    std::array<Figure, counterCount> figures_{};
    std::array<std::optional<Reading>, counterCount> last_{}; // that did not fail
    std::array<History, counterCount> histories_{};
    std::deque<double> times_;
};

/// The tracks of several ports, in the order of their first reading.
class PortTracks {
public:
    explicit PortTracks(std::size_t historyLength) : historyLength_(historyLength) {}

    void add(const std::vector<PortSample>& samples);
    const std::vector<PortTrack>& all() const noexcept { return tracks_; }

private:
    std::size_t historyLength_;
    std::vector<PortTrack> tracks_;
};

} // namespace orvo::host
