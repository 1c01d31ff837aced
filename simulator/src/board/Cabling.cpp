// SPDX-License-Identifier: MIT
// Cables between ports, and all that ends outside the simulation.
#include "Cabling.h"

#include "Link.h"

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
}

/// Where a cable is taken away from a port, its other end hangs in the air.
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

} // namespace

void plug(PortPlace place, const WireSpec& spec, const FindPort& findPort, SimTime now) {
    Port& port = portAt(place, findPort);
    if (spec.kind == WireSpec::Kind::Tap && spec.interface == port.cabling().spec.interface)
        return; // stays: a TAP has one user at a time
    if (spec.kind == WireSpec::Kind::Port) {
        Port& far = portAt(spec.far, findPort);
        if (&far == &port)
            throw WireError("port " + toText(place) + " cannot be cabled to itself; use loopback");
        plugCable(port, far, now);
    } else {
        auto wire = makeWire(spec, port.sink(), nullptr);
        dropFarEnd(port, now);
        install(port, spec, nullptr, std::move(wire), now);
    }
    renegotiate(port);
}

} // namespace orvo::sim
