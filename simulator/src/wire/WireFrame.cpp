// SPDX-License-Identifier: MIT
// Padding, and the frame check sequence by libdeflate, which uses carry-less multiplication where the
// processor has it.
#include "wire/WireFrame.h"

#include <libdeflate.h>

#include <algorithm>
#include <cstring>

namespace orvo::sim {

namespace {

/// The CRC-32 of IEEE 802.3; a frame carries it least significant byte first.
std::uint32_t frameCheckSequence(WireBytes bytes) noexcept {
    return libdeflate_crc32(0, bytes.data(), bytes.size());
}

} // namespace

std::size_t sealFrame(std::uint8_t* frame, std::size_t bytes, std::uint32_t errorMask) noexcept {
    const std::size_t padded = std::max(bytes, minFrameBytes);
    std::fill(frame + bytes, frame + padded, std::uint8_t{0});
    const std::uint32_t fcs = frameCheckSequence({frame, padded}) ^ errorMask;
    std::memcpy(frame + padded, &fcs, fcsBytes);
    return padded + fcsBytes;
}

bool isGoodFrame(WireBytes frame) noexcept {
    return frame.size() >= minWireBytes && frame.size() <= maxWireBytes && hasRightFcs(frame);
}

bool hasRightFcs(WireBytes frame) noexcept {
    if (frame.size() < fcsBytes) return false;
    std::uint32_t fcs = 0;
    std::memcpy(&fcs, frame.last(fcsBytes).data(), fcsBytes);
    return frameCheckSequence(withoutFcs(frame)) == fcs;
}

WireBytes withoutFcs(WireBytes frame) noexcept {
    return frame.first(frame.size() - std::min(frame.size(), fcsBytes));
}

} // namespace orvo::sim
