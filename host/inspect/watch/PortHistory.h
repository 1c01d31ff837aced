// SPDX-License-Identifier: MIT
// The readings of ports: growth, rates and a short history.
#pragma once

#include "device/CounterTable.h"
#include "device/PortAddress.h"

#include <array>
#include <cstdint>
#include <deque>
#include <optional>
#include <vector>

namespace orvo::host {

inline constexpr std::uint64_t bitsPerMbit = 1'000'000;

/// One reading of a port.
struct Sample {
    double seconds = 0;                                              ///< when, from an arbitrary start
    std::uint32_t serial = 0;                                        ///< of the board; 0 while it is gone
    std::array<std::optional<std::uint64_t>, counterCount> values{}; ///< nothing: absent, or the read failed

    std::optional<std::uint64_t>& operator[](Counter counter) {
        return values[static_cast<std::size_t>(counter)];
    }
    const std::optional<std::uint64_t>& operator[](Counter counter) const {
        return values[static_cast<std::size_t>(counter)];
    }
};

struct PortSample {
    PortAddress port;
    Sample sample;
};

/// What is known of one counter or state.
struct Figure {
    std::optional<std::uint64_t> value;      ///< the last reading; nothing when it failed
    std::optional<std::uint64_t> total;      ///< of a counter: continues where the counter wraps around
    std::optional<std::uint64_t> sinceStart; ///< of a counter; nothing before its first reading
    std::optional<double> perSecond;         ///< of a counter, between its last two readings
    bool hasRisen = false;                   ///< from one to the other

    bool operator==(const Figure&) const = default;
};

/// The readings of one port. The reading after a failed one counts for all the time since the last good one,
/// so that nothing is lost. A board with another serial number starts anew.
class PortHistory {
public:
    PortHistory(PortAddress port, std::size_t length) : port_(port), length_(length) {}

    PortAddress port() const noexcept { return port_; }
    void add(const Sample& sample);

    const Figure& of(Counter counter) const { return figures_[static_cast<std::size_t>(counter)]; }

    /// Counters per second, states as they are; nothing where unknown. The last entry is the latest.
    using Series = std::deque<std::optional<double>>;
    const Series& series(Counter counter) const { return series_[static_cast<std::size_t>(counter)]; }
    /// The time of each entry.
    const std::deque<double>& times() const noexcept { return times_; }

private:
    struct Reading {
        double seconds;
        std::uint64_t value;
    };

    void addCount(std::size_t which, std::optional<std::uint64_t> value, double seconds);
    void remember(const Sample& sample);

    PortAddress port_;
    std::size_t length_;
    std::uint32_t serial_ = 0;
    std::array<Figure, counterCount> figures_{};
    std::array<std::optional<Reading>, counterCount> lastGood_{};
    std::array<Series, counterCount> series_{};
    std::deque<double> times_;
};

/// The histories of several ports, in the order of their first reading.
class PortHistories {
public:
    explicit PortHistories(std::size_t length) : length_(length) {}

    void add(const std::vector<PortSample>& samples);
    const std::vector<PortHistory>& all() const noexcept { return histories_; }

private:
    std::size_t length_;
    std::vector<PortHistory> histories_;
};

} // namespace orvo::host
