// SPDX-License-Identifier: MIT
// Padding and frame check sequence of frames on the wire.
#include "WireFrame.h"

#include "FrameCheck.h"

#include <algorithm>

namespace orvo::sim {

std::size_t sealFrame(std::uint8_t* frame, std::size_t bytes, std::uint32_t errorMask) noexcept {
    const std::size_t padded = std::max(bytes, minFrameBytes);
    std::fill(frame + bytes, frame + padded, std::uint8_t{0});
    auto fcs = frameCheckSequence({frame, padded}) ^ errorMask;
    for (std::size_t i = 0; i < fcsBytes; ++i, fcs >>= 8) frame[padded + i] = static_cast<std::uint8_t>(fcs);
    return padded + fcsBytes;
}

bool isGoodFrame(WireBytes frame) noexcept {
    if (frame.size() < minWireBytes || frame.size() > maxWireBytes) return false;
    std::uint32_t fcs = 0;
    for (std::size_t i = 0; i < fcsBytes; ++i)
        fcs |= std::uint32_t{frame[frame.size() - fcsBytes + i]} << (8 * i);
    return frameCheckSequence(withoutFcs(frame)) == fcs;
}

WireBytes withoutFcs(WireBytes frame) noexcept {
    return frame.first(frame.size() - std::min(frame.size(), fcsBytes));
}

} // namespace orvo::sim
