// SPDX-License-Identifier: MIT
#include "traffic/SilentPort.h"

#include "device/Phy.h"

#include <algorithm>
#include <iterator>

namespace orvo::host {
namespace {

struct WireRow {
    std::string_view begin; // of the wire's text
    const char* reason;
};

constexpr WireRow wireRows[] = {
    {"none", "nothing is plugged in; cable the port with --wire"},
    {"loopback", "it has a loopback plug and sends nothing itself; --wire with pcap:FILE plays a capture"},
    {"pcap:", "the capture that its wire plays is over"},
    {"port:", "the port at the other end of its wire sends nothing"},
    {"tap:", "nobody sends through the interface of its wire"},
    {"packet:", "nothing arrives at the interface of its wire"},
};

bool isDown(const BoardAccess& access, PortAddress port) {
    if (!access.simulator) return readLink(access, port) == Link::Down;
    const auto state = access.simulator->state(port);
    return state && state->linkUp == 0;
}

} // namespace

std::string silenceReason(const BoardAccess& access, PortAddress port) {
    const auto wire = access.simulator ? access.simulator->wire(port) : std::string();
    if (wire != "none" && isDown(access, port)) return "it has no link; check the cable and the far end";
    const auto* const row =
        std::ranges::find_if(wireRows, [&](const WireRow& known) { return wire.starts_with(known.begin); });
    if (row != std::end(wireRows)) return row->reason;
    return "the link is up, but the far end sends nothing, or only damaged frames; --crc-watch logs those";
}

} // namespace orvo::host
