// SPDX-License-Identifier: MIT
// What two ends of a cable agreed on, from the PHY's registers.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace orvo::host {

/// One end's offer in auto-negotiation, best first.
struct Ability {
    unsigned mbitPerSecond;
    bool fullDuplex;
    const char* name; ///< "1000BASE-T full duplex"
};

struct LinkState {
    bool answers = false;       ///< the PHY; everything else is void when it does not
    bool up = false;            ///< now, or not since the register was read last
    bool negotiates = false;    ///< auto-negotiation is on
    bool negotiated = false;    ///< and complete
    bool forced1000 = false;    ///< 1000 Mbit/s without negotiation, which the standard does not know
    unsigned mbitPerSecond = 0; ///< 0 while nothing is agreed on
    bool fullDuplex = false;
    bool isMaster = false;        ///< at 1000BASE-T
    unsigned idleErrors = 0;      ///< since the last reading, 255 and more count as 255
    std::vector<Ability> offers;  ///< ours
    std::vector<Ability> partner; ///< the partner's

    /// `phy` holds registers 0 to 28.
    static LinkState from(std::span<const std::uint16_t> phy);
};

/// Whether one of the abilities is for `mbitPerSecond`.
bool offers(const std::vector<Ability>& abilities, unsigned mbitPerSecond);

} // namespace orvo::host
