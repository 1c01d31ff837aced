// SPDX-License-Identifier: MIT
// From the wire into the receive queue.
#include "mac/Receiver.h"

#include <algorithm>
#include <array>

namespace orvo::sim {

OrvoSimFate Receiver::deliver(WireBytes frame) noexcept {
    TapRecord record(tap_, TapDirection::Received, frame, true);
    return record.end(take(frame));
}

OrvoSimFate Receiver::deliverUnsealed(WireBytes content) noexcept {
    TapRecord record(tap_, TapDirection::Received, content, false);
    return record.end(takeUnsealed(content));
}

OrvoSimFate Receiver::lose(WireBytes frame, bool isSealed) noexcept {
    TapRecord record(tap_, TapDirection::Received, frame, isSealed);
    return record.end(loseFrames(1));
}

void Receiver::countLost(std::uint64_t frames) noexcept {
    tap_.countMissed(frames);
    loseFrames(frames);
}

OrvoSimFate Receiver::take(WireBytes frame) noexcept {
    if (!gate_.canReceive()) return ignore();
    if (isGoodFrame(frame)) return accept(withoutFcs(frame));
    return refuse(frame.size() < minWireBytes   ? OrvoSimTooShort
                  : frame.size() > maxWireBytes ? OrvoSimTooLong
                                                : OrvoSimWrongFcs);
}

OrvoSimFate Receiver::takeUnsealed(WireBytes content) noexcept {
    if (!gate_.canReceive()) return ignore();
    if (content.size() > maxFrameBytes) return refuse(OrvoSimTooLong);
    if (content.size() >= minFrameBytes) return accept(content);
    std::array<std::uint8_t, minFrameBytes> padded{};
    std::copy(content.begin(), content.end(), padded.begin());
    return accept(padded);
}

OrvoSimFate Receiver::loseFrames(std::uint64_t frames) noexcept {
    if (!gate_.canReceive()) return ignore(frames);
    queue_.countLostFrames(frames, minFrameBytes);
    return OrvoSimQueueFull;
}

OrvoSimFate Receiver::ignore(std::uint64_t frames) noexcept {
    ignoredFrames_.add(frames);
    return gate_.isReceiverOn() ? OrvoSimLinkDown : OrvoSimReceiverOff;
}

OrvoSimFate Receiver::refuse(OrvoSimFate fate) noexcept {
    errors_.add(1);
    return fate;
}

OrvoSimFate Receiver::accept(WireBytes content) noexcept {
    return queue_.pushFrame(content) ? OrvoSimPassed : OrvoSimQueueFull;
}

} // namespace orvo::sim
