// SPDX-License-Identifier: MIT
// Cables between ports, wires that end outside the simulation, and who negotiates with whom.
#include "board/Cabling.h"

namespace orvo::sim {

namespace {

Port& portAt(PortPlace place, const FindPort& findPort) {
    Port* port = findPort(place);
    if (!port) throw WireError("there is no port " + toText(place));
    return *port;
}

void install(Port& port, const WireSpec& spec, Port* far, std::unique_ptr<Wire> wire, SimTime now) {
    port.setWire(std::move(wire));
    auto& cabling = port.cabling();
    cabling.spec = spec;
    cabling.far = far;
    cabling.pluggedAt = now;
    cabling.isPlugged = true;
}

/// Unplugs the other end of a port's cable.
void dropFarEnd(Port& port, SimTime now) {
    Port* far = port.cabling().far;
    if (!far) return;
    install(*far, {WireSpec::Kind::None}, nullptr, nullptr, now);
    port.cabling().far = nullptr;
    renegotiate(*far);
}

void plugCable(Port& port, Port& far, SimTime now) {
    const WireSpec toFar{WireSpec::Kind::Port, far.place()};
    const WireSpec toPort{WireSpec::Kind::Port, port.place()};
    auto nearWire = makeWire(toFar, port.sink(), &far.sink());
    auto farWire = makeWire(toPort, far.sink(), &port.sink());
    dropFarEnd(port, now);
    dropFarEnd(far, now);
    install(port, toFar, &far, std::move(nearWire), now);
    install(far, toPort, &port, std::move(farWire), now);
}

/// What reaches the port of the far end's signal.
LinkEnd limited(LinkEnd end, const PortCabling& cabling) noexcept {
    const OrvoSimPartner offer = cabling.isPlugged ? cabling.partner : OrvoSimPartnerDown;
    if (offer == OrvoSimPartner100)
        end.gigabit &= static_cast<std::uint16_t>(~(gigabit::full | gigabit::half));
    if (offer == OrvoSimPartnerDown) end.activeSince = never;
    return end;
}

/// The far end of a cable that leads to no port: a switch that is always ready, if anything is there.
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

void plug(PortPlace place, const WireSpec& spec, const FindPort& findPort, SimTime now) {
    Port& port = portAt(place, findPort);
    if (spec.kind == WireSpec::Kind::Tap && spec.interface == port.cabling().spec.interface)
        return; // a TAP has one user at a time, so the wire stays
    if (spec.kind == WireSpec::Kind::Port) {
        Port& far = portAt(spec.far, findPort);
        if (&far == &port)
            throw WireError("port " + toText(place) + " cannot be cabled to itself; use loopback");
        plugCable(port, far, now);
    } else {
        const bool isLoopback = spec.kind == WireSpec::Kind::Loopback; // paced by its sender
        auto wire = makeWire(spec, isLoopback ? port.sink() : port.outsideSink(), nullptr);
        dropFarEnd(port, now);
        install(port, spec, nullptr, std::move(wire), now);
    }
    renegotiate(port);
}

void renegotiate(Port& port) noexcept {
    const SimTime now = simClock.now();
    const PortCabling& cabling = port.cabling();
    const LinkEnd own = port.phy().end();
    if (!cabling.far) {
        const LinkEnd partner = limited(outsidePartner(port), cabling);
        setLink(port, negotiate(own, partner, cabling.pluggedAt, false), now);
        return;
    }
    Port& far = *cabling.far;
    const LinkEnd ownSeen = limited(own, far.cabling());
    const LinkEnd farSeen = limited(far.phy().end(), cabling);
    const bool wins = port.place() < far.place();
    setLink(port, negotiate(ownSeen, farSeen, cabling.pluggedAt, wins), now);
    // NOLINTNEXTLINE(readability-suspicious-call-argument): the same from the far end
    setLink(far, negotiate(farSeen, ownSeen, cabling.pluggedAt, !wins), now);
}

void setPlugged(Port& port, bool plugged, SimTime now) noexcept {
    if (plugged == port.cabling().isPlugged) return;
    port.cabling().isPlugged = plugged;
    port.cabling().pluggedAt = now;
    renegotiate(port);
}

void setPartner(Port& port, OrvoSimPartner partner, SimTime since) noexcept {
    port.cabling().partner = partner;
    port.cabling().pluggedAt = since; // the far end starts negotiating then
    renegotiate(port);
}

} // namespace orvo::sim
