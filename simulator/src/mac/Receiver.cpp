// SPDX-License-Identifier: MIT
// From the wire into the receive queue.
#include "mac/Receiver.h"

#include <algorithm>
#include <array>

namespace orvo::sim {

Arrival Receiver::deliver(WireBytes frame) noexcept {
    if (!gate_.canReceive()) return ignore();
    return isGoodFrame(frame) ? accept(withoutFcs(frame)) : refuse();
}

Arrival Receiver::deliverUnsealed(WireBytes content) noexcept {
    if (!gate_.canReceive()) return ignore();
    if (content.size() > maxFrameBytes) return refuse();
    if (content.size() >= minFrameBytes) return accept(content);
    std::array<std::uint8_t, minFrameBytes> padded{};
    std::copy(content.begin(), content.end(), padded.begin());
    return accept(padded);
}

Arrival Receiver::ignore(std::uint64_t frames) noexcept {
    ignoredFrames_.add(frames);
    return Arrival::Ignored;
}

Arrival Receiver::refuse() noexcept {
    errors_.add(1);
    return Arrival::Broken;
}

Arrival Receiver::accept(WireBytes content) noexcept {
    return queue_.pushFrame(content) ? Arrival::Queued : Arrival::Overflow;
}

void Receiver::countLost(std::uint64_t frames) noexcept {
    if (gate_.canReceive())
        queue_.countLostFrames(frames, minFrameBytes);
    else
        ignore(frames);
}

} // namespace orvo::sim
