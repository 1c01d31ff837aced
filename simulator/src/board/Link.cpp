// SPDX-License-Identifier: MIT
// Who meets whom on a cable.
#include "Link.h"

namespace orvo::sim {

namespace {

LinkEnd limited(LinkEnd end, OrvoSimPartner offer) noexcept {
    if (offer == OrvoSimPartner100)
        end.gigabit &= static_cast<std::uint16_t>(~(gigabit::full | gigabit::half));
    if (offer == OrvoSimPartnerDown) end.activeSince = never;
    return end;
}

/// The far end of a cable that leads to no port: a switch, ready at any time if there is one.
LinkEnd outsidePartner(const Port& port) noexcept {
    LinkEnd end;
    if (port.hasCarrier()) end.activeSince = always;
    end.ability = ability::allWithPause;
    end.gigabit = gigabit::full | gigabit::multiPort;
    return end;
}

void setLink(Port& port, const Link& link, SimTime now) noexcept {
    port.phy().setLink(link, now);
    port.updateGate();
}

} // namespace

void renegotiate(Port& port) noexcept {
    const SimTime now = simClock.now();
    const PortCabling& cabling = port.cabling();
    const LinkEnd own = port.phy().end();
    if (!cabling.far) {
        const LinkEnd partner = limited(outsidePartner(port), cabling.partner);
        setLink(port, negotiate(own, partner, cabling.pluggedAt, false), now);
        return;
    }
    Port& far = *cabling.far;
    const LinkEnd ownSeen = limited(own, far.cabling().partner);
    const LinkEnd farSeen = limited(far.phy().end(), cabling.partner);
    const bool wins = port.place() < far.place();
    setLink(port, negotiate(ownSeen, farSeen, cabling.pluggedAt, wins), now);
    // NOLINTNEXTLINE(readability-suspicious-call-argument): the same from the far end
    setLink(far, negotiate(farSeen, ownSeen, cabling.pluggedAt, !wins), now);
}

} // namespace orvo::sim
