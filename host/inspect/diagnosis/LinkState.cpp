// SPDX-License-Identifier: MIT
// Resolution of auto-negotiation (IEEE 802.3 annex 28B.3: the best ability that both ends offer).
#include "inspect/diagnosis/LinkState.h"

#include <algorithm>

namespace orvo::host {
namespace {

/// Where one ability stands in our registers and in those that show the partner's.
struct AbilityRow {
    Ability ability;
    unsigned ownRegister, ownBit;
    unsigned partnerRegister, partnerBit;
};

constexpr AbilityRow abilityRows[] = {
    {{1000, true, "1000BASE-T full duplex"}, 9, 9, 10, 11},
    {{1000, false, "1000BASE-T half duplex"}, 9, 8, 10, 10},
    {{100, true, "100BASE-TX full duplex"}, 4, 8, 5, 8},
    {{100, false, "100BASE-TX half duplex"}, 4, 7, 5, 7},
    {{10, true, "10BASE-T full duplex"}, 4, 6, 5, 6},
    {{10, false, "10BASE-T half duplex"}, 4, 5, 5, 5},
};

bool bit(std::span<const std::uint16_t> phy, unsigned phyRegister, unsigned number) {
    return ((unsigned{phy[phyRegister]} >> number) & 1U) != 0;
}

void agree(LinkState& state, std::span<const std::uint16_t> phy) {
    bool agreed = false;
    for (const auto& row : abilityRows) {
        const bool ours = bit(phy, row.ownRegister, row.ownBit);
        const bool theirs = bit(phy, row.partnerRegister, row.partnerBit);
        if (ours) state.offers.push_back(row.ability);
        if (theirs) state.partner.push_back(row.ability);
        if (agreed || !ours || !theirs) continue;
        agreed = true;
        if (!state.negotiated) continue;
        state.mbitPerSecond = row.ability.mbitPerSecond;
        state.fullDuplex = row.ability.fullDuplex;
    }
}

/// Without negotiation speed and duplex are as set in the control register.
void takeForced(LinkState& state, std::span<const std::uint16_t> phy) {
    const bool high = bit(phy, 0, 6), low = bit(phy, 0, 13);
    state.mbitPerSecond = high ? 1000 : low ? 100 : 10;
    state.forced1000 = high;
    state.fullDuplex = bit(phy, 0, 8);
}

} // namespace

LinkState LinkState::from(std::span<const std::uint16_t> phy) {
    LinkState state;
    const auto isSilent = [](std::uint16_t content) { return content == 0xFFFF || content == 0; };
    state.answers = !std::all_of(phy.begin(), phy.begin() + 4, isSilent);
    if (!state.answers) return state;
    state.up = bit(phy, 1, 2);
    state.negotiates = bit(phy, 0, 12);
    state.negotiated = state.negotiates && bit(phy, 1, 5);
    agree(state, phy);
    if (!state.negotiates) takeForced(state, phy);
    state.isMaster = bit(phy, 10, 14);
    state.idleErrors = phy[10] & 0xFFU;
    return state;
}

bool offers(const std::vector<Ability>& abilities, unsigned mbitPerSecond) {
    return std::any_of(abilities.begin(), abilities.end(),
                       [=](const Ability& ability) { return ability.mbitPerSecond == mbitPerSecond; });
}

} // namespace orvo::host
