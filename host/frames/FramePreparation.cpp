// SPDX-License-Identifier: MIT
#include "frames/FramePreparation.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace orvo::host {

const char* dropReasonText(DropReason reason) {
    constexpr std::array<const char*, dropReasonCount> texts = {
        "longer than 1514 bytes (1518 with frame check sequence)", "cut short by the capture's snap length",
        "shorter than an Ethernet header (14 bytes)"};
    return texts[static_cast<std::size_t>(reason)];
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
