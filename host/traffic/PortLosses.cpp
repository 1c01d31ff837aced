// SPDX-License-Identifier: MIT
#include "traffic/PortLosses.h"

#include <algorithm>

namespace orvo::host {

PortLosses::PortLosses(const BoardAccess& access, PortAddress port)
    : access_(access), port_(port), before_(counts()) {}

void PortLosses::addTo(Drops& drops) const {
    const auto now = counts();
    drops.add("from the TAP: port had no link or wire was busy", now.unsentFrames - before_.unsentFrames);
    drops.add("from the wire: port had no link", now.ignoredFrames - before_.ignoredFrames);
    drops.add("from the wire: receive queue full", now.overflowFrames - before_.overflowFrames);
    drops.add("from the wire: damaged or too long", now.receiveErrors - before_.receiveErrors);
    drops.add("from the wire: device was released", whileReleased_.value());
}

std::uint64_t PortLosses::noteRelease(std::uint64_t taken, bool isReopened) {
    const auto now = counts();
    const auto queued =
        (now.receivedFrames - before_.receivedFrames) - (now.overflowFrames - before_.overflowFrames);
    const auto known = taken + whileReleased_.value() + (isReopened && now.queuedWords != 0 ? 1 : 0);
    const auto lost = queued - std::min(queued, known);
    whileReleased_.add(lost);
    return lost;
}

OrvoSimPort PortLosses::counts() const {
    return access_.simulator ? access_.simulator->state(port_).value_or(OrvoSimPort{}) : OrvoSimPort{};
}

} // namespace orvo::host
