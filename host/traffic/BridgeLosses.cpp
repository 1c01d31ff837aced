// SPDX-License-Identifier: MIT
// Looking at counters of others.
#include "traffic/BridgeLosses.h"

namespace orvo::host {

void TapQueueLosses::observe() {
    const auto now = unsentFrames(tap_);
    if (now && seen_ && now->index == seen_->index) frames_.add(now->frames - seen_->frames); // modulo 2^32
    seen_ = now;
}

OrvoSimPort PortLosses::counts() const {
    return session_.simulator ? session_.simulator->state(port_).value_or(OrvoSimPort{}) : OrvoSimPort{};
}

void PortLosses::addTo(Drops& drops) const {
    const auto now = counts();
    drops.add("of the TAP that could not leave the port, its link being down or its wire busy",
              now.unsentFrames - before_.unsentFrames);
    drops.add("of the wire while the port had no link", now.ignoredFrames - before_.ignoredFrames);
    drops.add("of the wire for which the port's queue had no room",
              now.overflowFrames - before_.overflowFrames);
    drops.add("of the wire that were damaged or too long", now.receiveErrors - before_.receiveErrors);
}

} // namespace orvo::host
