// SPDX-License-Identifier: MIT
// What a captured frame needs before a port can send it.
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

const char* textOf(DropReason reason);

/// Why a frame cannot be sent; nothing when it can.
std::optional<DropReason> dropReason(const CapturedFrame& frame) noexcept;

/// The frame's bytes, followed by zeros up to the shortest legal frame and up to an even length: the board
/// takes frames in units of 16 bits.
QByteArray paddedFrame(const CapturedFrame& frame);

/// Words of 32 bits that a frame takes in a board's receive queue: its size, and one word per 16 bits.
constexpr std::size_t queueWords(std::size_t frameBytes) noexcept {
    return 1 + (frameBytes + 1) / 2;
}

} // namespace orvo::host
