// SPDX-License-Identifier: MIT
// Sorting out and padding of captured frames.
#include "frames/FramePreparation.h"

#include <algorithm>
#include <cstring>

namespace orvo::host {

const char* textOf(DropReason reason) {
    switch (reason) {
    case DropReason::TooLong:
        return "longer than 1514 bytes (1518 with frame check sequence)";
    case DropReason::CutShort:
        return "cut short by the capture's snap length";
    case DropReason::TooShort:
        return "shorter than an Ethernet header (14 bytes)";
    }
    return "";
}

std::optional<DropReason> dropReason(const CapturedFrame& frame) noexcept {
    if (frame.originalLength > maxFrameBytes) return DropReason::TooLong;
    if (frame.length < frame.originalLength) return DropReason::CutShort;
    if (frame.length < ethernetHeaderBytes) return DropReason::TooShort;
    return std::nullopt;
}

QByteArray paddedFrame(const CapturedFrame& frame) {
    const auto bytes = std::max(minFrameBytes, frame.length + frame.length % 2);
    QByteArray padded(static_cast<int>(bytes), Qt::Uninitialized);
    std::memcpy(padded.data(), frame.bytes, frame.length);
    std::memset(padded.data() + frame.length, 0, bytes - frame.length);
    return padded;
}

} // namespace orvo::host
