// SPDX-License-Identifier: MIT
// The links of a board's ports, polled over MDIO.
#pragma once

#include "device/Board.h"
#include "device/Phy.h"

#include <chrono>
#include <cstdint>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

namespace orvo::host {

/// What a PHY reports of its link.
struct LinkReading {
    std::optional<bool> up = {};                     ///< nothing: the PHY does not answer
    std::optional<std::uint64_t> bitsPerSecond = {}; ///< 0 while the link is down
    std::uint64_t idleErrors = 0;                    ///< sum over all readings

    bool operator==(const LinkReading&) const = default;
};

/// Reads a port's link; `before` is the previous reading. Takes 0.3 s, and 0.6 s more when the link has come
/// up since. Reading clears the PHY's idle error count and its latched "link was down".
LinkReading readLink(MdioMaster& mdio, unsigned port, const LinkReading& before);

/// Reads all ports of a board in turn, on a thread of its own, since a round takes longer than the interval
/// between two readings of the counters. Between rounds the MDIO bus is free for others.
class LinkPoller {
public:
    /// The libraries must outlive it.
    LinkPoller(const BoardLibraries& libraries, unsigned board, unsigned ports,
               std::chrono::duration<double> interval);
    ~LinkPoller(); ///< waits for the reading in progress
    LinkPoller(const LinkPoller&) = delete;
    LinkPoller& operator=(const LinkPoller&) = delete;

    /// The last reading of a port; nothing before the first.
    std::optional<LinkReading> at(unsigned port) const;

private:
    void poll(const std::stop_token& stop);
    void readAll(const std::stop_token& stop);

    const BoardLibraries& libraries_;
    const unsigned board_;
    const std::chrono::duration<double> interval_;
    mutable std::mutex mutex_; // guards the readings
    std::vector<std::optional<LinkReading>> readings_;
    std::jthread thread_; // last: it uses the others
};

} // namespace orvo::host
