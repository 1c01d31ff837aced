// SPDX-License-Identifier: MIT
// The link that two ends of a cable agree on: auto-negotiation of IEEE 802.3 clauses 28 and 40.
#pragma once

#include "base/Clock.h"

#include <cstdint>

namespace orvo::sim {

/// What one end of a cable signals to the other.
struct LinkEnd {
    SimTime activeSince = never; ///< when it began to signal; `never` while off or in reset
    SimTime negotiation{};       ///< how long it takes to negotiate
    bool negotiates = true;      ///< false: the forced mode counts
    std::uint16_t ability = 0;   ///< register 4
    std::uint16_t gigabit = 0;   ///< register 9
    unsigned forcedMbit = 0;
    bool forcedFullDuplex = false;
};

/// A link as one of its ends sees it. All of it, the fault included, holds from `upAt` on.
struct Link {
    SimTime upAt = never;
    unsigned mbit = 0; ///< 0: the ends have nothing in common
    bool fullDuplex = false;
    bool isMaster = false;         ///< of the clock, at 1000 Mbit/s
    bool masterSlaveFault = false; ///< both ends insist on the same role; no link
    bool partnerNegotiates = false;
    std::uint16_t partnerAbility = 0; ///< for register 5
    std::uint16_t partnerGigabit = 0; ///< register 9 of the partner
};

/// The link that `own` gets with `partner` on a cable plugged in at `pluggedAt`. `winsTie` makes
/// this end the master where the two ends are alike; give the other end the opposite value.
Link negotiate(const LinkEnd& own, const LinkEnd& partner, SimTime pluggedAt, bool winsTie) noexcept;

} // namespace orvo::sim
