// SPDX-License-Identifier: MIT
// The state of a link, decoded from the PHY's registers.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace orvo::host {

/// A speed and duplex mode that one end offers in auto-negotiation.
struct Ability {
    unsigned mbitPerSecond;
    bool fullDuplex;

    bool operator==(const Ability&) const = default;
    std::string name() const; ///< as in "1000BASE-T full duplex"
};

struct LinkState {
    bool answers = false;       ///< whether the PHY does; all else has no meaning if not
    bool up = false;            ///< now, and ever since the register was last read
    bool negotiates = false;    ///< auto-negotiation is on
    bool negotiated = false;    ///< and complete
    unsigned mbitPerSecond = 0; ///< 0: not negotiated
    bool fullDuplex = false;
    bool isMaster = false;        ///< at 1000BASE-T
    unsigned idleErrors = 0;      ///< since the last reading; the PHY stops at 255
    std::vector<Ability> offers;  ///< of this port, best first
    std::vector<Ability> partner; ///< what the partner offers

    /// `phy` holds registers 0 to 28.
    static LinkState from(std::span<const std::uint16_t> phy);
};

} // namespace orvo::host
