// SPDX-License-Identifier: MIT
// The links of a board's ports, looked at from time to time over MDIO.
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

inline constexpr std::uint64_t bitsPerMbit = 1'000'000;

/// What a PHY tells of its link.
struct PhyLook {
    std::optional<bool> up = {};                     ///< nothing: it does not answer
    std::optional<std::uint64_t> bitsPerSecond = {}; ///< 0 while the link is down
    std::uint64_t idleErrors = 0;                    ///< of all looks

    bool operator==(const PhyLook&) const = default;
};

/// Looks at a port's link, given what the last look found; 0.3 s, and 0.6 s more when the link has come up
/// since. The PHY forgets its idle errors, and that its link was down, when they are read.
PhyLook lookAtLink(MdioMaster& mdio, unsigned port, const PhyLook& before);

/// Looks at all ports of a board in turn, on a thread of its own: a round takes longer than the pause between
/// two readings of the counters. Between the rounds nothing touches the MDIO bus, which others may need.
class PhyWatch {
public:
    /// The libraries must outlive it.
    PhyWatch(const BoardLibraries& libraries, unsigned board, unsigned ports,
             std::chrono::duration<double> interval);
    ~PhyWatch(); ///< takes as long as the look that is under way
    PhyWatch(const PhyWatch&) = delete;
    PhyWatch& operator=(const PhyWatch&) = delete;

    /// The last look at a port; nothing before the first.
    std::optional<PhyLook> at(unsigned port) const;

private:
    void watch(const std::stop_token& stop);
    void lookAtAll(const std::stop_token& stop);
    void keep(unsigned port, const PhyLook& look);

    const BoardLibraries& libraries_;
    const unsigned board_;
    const std::chrono::duration<double> interval_;
    mutable std::mutex mutex_; // of the looks
    std::vector<std::optional<PhyLook>> looks_;
    std::jthread thread_; // last: it uses the others
};

} // namespace orvo::host
