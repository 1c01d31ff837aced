// SPDX-License-Identifier: MIT
#include "traffic/Delivery.h"

#include <offload/FrameCut.h>

#include <utility>

namespace orvo::host {

Delivery::Delivery(const TapDevice& tap, std::unique_ptr<WaitingFrames> waiting, Tell tell)
    : tap_(tap), waiting_(std::move(waiting)), tell_(std::move(tell)),
      kept_(std::make_unique<offload::FrameJoin>()) {}

void Delivery::take(Bytes frame) {
    const bool anotherWaits = waiting_ && waiting_->any();
    if (!keep(frame, anotherWaits)) {
        flush();
        if (!keep(frame, anotherWaits)) write(frame);
    }
    if (!anotherWaits || !kept_->isOpen()) flush();
}

bool Delivery::keep(Bytes frame, bool anotherWaits) noexcept {
    const bool isAlone = kept_->frames() == 0 && !anotherWaits;
    if (isAlone || !kept_->add(frame)) return false;
    keptBytes_ += frame.size();
    return true;
}

void Delivery::flush() {
    const auto frames = kept_->frames();
    if (frames == 0) return;
    const auto bytes = std::exchange(keptBytes_, 0);
    const auto joined = kept_->take();
    const auto reason = tap_.write(joined.header, joined.bytes);
    if (frames == 1 || reason != TapDrop::Refused) return tell_(reason, frames, bytes);
    offload::FrameCut cut(joined.header, joined.bytes); // perhaps the kernel takes no joined ones
    for (auto frame = cut.next(); !frame.empty(); frame = cut.next()) write(frame);
}

void Delivery::pause() {
    flush();
    if (waiting_) waiting_->letGo();
}

void Delivery::write(Bytes frame) {
    tell_(tap_.write({}, frame), 1, frame.size());
}

} // namespace orvo::host
