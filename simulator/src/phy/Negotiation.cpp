// SPDX-License-Identifier: MIT
// Auto-negotiation, parallel detection and forced modes.
#include "phy/Negotiation.h"

#include "phy/PhyRegisters.h"

#include <algorithm>

namespace orvo::sim {

namespace {

struct Technology {
    unsigned mbit;
    bool fullDuplex;
    std::uint16_t LinkEnd::*word; // the register that offers it
    std::uint16_t bit;
};

constexpr Technology technologies[] = {
    // best first
    {1000, true, &LinkEnd::gigabit, gigabit::full},   {1000, false, &LinkEnd::gigabit, gigabit::half},
    {100, true, &LinkEnd::ability, ability::full100}, {100, false, &LinkEnd::ability, ability::half100},
    {10, true, &LinkEnd::ability, ability::full10},   {10, false, &LinkEnd::ability, ability::half10},
};

enum class Role { Master, Slave, Fault };

Role clockRole(std::uint16_t own, std::uint16_t partner, bool winsTie) noexcept {
    const bool ownManual = (own & gigabit::manualMaster) != 0;
    const bool partnerManual = (partner & gigabit::manualMaster) != 0;
    const bool ownMaster = (own & gigabit::master) != 0;
    const bool partnerMaster = (partner & gigabit::master) != 0;
    if (ownManual && partnerManual && ownMaster == partnerMaster) return Role::Fault;
    bool isMaster = winsTie;
    if (ownManual)
        isMaster = ownMaster;
    else if (partnerManual)
        isMaster = !partnerMaster;
    else if (((own ^ partner) & gigabit::multiPort) != 0)
        isMaster = (own & gigabit::multiPort) != 0;
    return isMaster ? Role::Master : Role::Slave;
}

void resolve(Link& link, const Technology& best, const LinkEnd& own, const LinkEnd& partner, bool winsTie) {
    if (best.mbit == 1000) {
        const Role role = clockRole(own.gigabit, partner.gigabit, winsTie);
        link.masterSlaveFault = role == Role::Fault;
        link.isMaster = role == Role::Master;
        if (link.masterSlaveFault) return;
    }
    link.mbit = best.mbit;
    link.fullDuplex = best.fullDuplex;
}

/// One end negotiates and the other does not: the first detects the speed by the signal, and must use half
/// duplex.
void detectInParallel(Link& link, const LinkEnd& own, const LinkEnd& partner) noexcept {
    const LinkEnd& detecting = own.negotiates ? own : partner;
    const LinkEnd& forced = own.negotiates ? partner : own;
    for (const auto& technology : technologies) {
        if (technology.mbit != forced.forcedMbit || technology.fullDuplex || technology.mbit == 1000)
            continue;
        if ((detecting.*technology.word & technology.bit) == 0) return;
        link.mbit = technology.mbit;
        link.fullDuplex = !own.negotiates && own.forcedFullDuplex;
        if (own.negotiates) link.partnerAbility = technology.bit;
    }
}

} // namespace

Link negotiate(const LinkEnd& own, const LinkEnd& partner, SimTime pluggedAt, bool winsTie) noexcept {
    Link link;
    const SimTime start = std::max({own.activeSince, partner.activeSince, pluggedAt});
    if (start == never) return link;
    if (own.negotiates && partner.negotiates) {
        link.partnerNegotiates = true;
        link.partnerAbility = static_cast<std::uint16_t>(partner.ability | ability::acknowledge);
        link.partnerGigabit = partner.gigabit;
        for (const auto& technology : technologies) {
            if ((own.*technology.word & partner.*technology.word & technology.bit) == 0) continue;
            resolve(link, technology, own, partner, winsTie);
            break;
        }
    } else if (own.negotiates != partner.negotiates) {
        detectInParallel(link, own, partner);
    } else if (own.forcedMbit == partner.forcedMbit) {
        link.mbit = own.forcedMbit;
        link.fullDuplex = own.forcedFullDuplex;
    }
    if (link.mbit == 0 && !link.masterSlaveFault) return Link{};
    const bool negotiated = own.negotiates || partner.negotiates;
    link.upAt = negotiated ? later(start, std::max(own.negotiation, partner.negotiation)) : start;
    return link;
}

} // namespace orvo::sim
