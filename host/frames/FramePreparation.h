// SPDX-License-Identifier: MIT
// Checking and padding a captured frame before a port sends it.
#pragma once

#include "frames/CaptureReader.h"

#include <QByteArray>

#include <cstddef>
#include <optional>

namespace orvo::host {

inline constexpr std::size_t minFrameBytes = 60;   ///< without frame check sequence
inline constexpr std::size_t maxFrameBytes = 1514; ///< without frame check sequence
inline constexpr std::size_t ethernetHeaderBytes = 14;

enum class DropReason { TooLong, CutShort, TooShort };
inline constexpr std::size_t dropReasonCount = 3;

const char* dropReasonText(DropReason reason);

/// Why a frame cannot be sent; nothing when it can.
std::optional<DropReason> dropReason(const CapturedFrame& frame) noexcept;

/// The frame's bytes, followed by zeros up to the shortest legal frame and up to an even length: the board
/// takes frames in units of 16 bits.
QByteArray paddedFrame(const CapturedFrame& frame);

/// Words of 32 bits that a frame takes in a board's receive queue: one for its size, and one per 16 bits.
constexpr std::size_t queueWords(std::size_t frameBytes) noexcept {
    return 1 + (frameBytes + 1) / 2;
}

} // namespace orvo::host
