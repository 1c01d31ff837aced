// SPDX-License-Identifier: MIT
// Frames as they are on the wire: padded, and with their frame check sequence.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>

namespace orvo::sim {

// Two bytes of a frame and the 16 bits that stand for them in registers and queues, first byte low, are the
// same in memory.
static_assert(std::endian::native == std::endian::little);

inline constexpr std::size_t fcsBytes = 4;
inline constexpr std::size_t minWireBytes = 64;   // frame check sequence included
inline constexpr std::size_t maxWireBytes = 1518; // likewise
inline constexpr std::size_t minFrameBytes = minWireBytes - fcsBytes;
inline constexpr std::size_t maxFrameBytes = maxWireBytes - fcsBytes;

/// A frame on the wire, as one that carries it or takes it in sees it.
using WireBytes = std::span<const std::uint8_t>;

/// Pads the `bytes` of a frame to 60 and appends the frame check sequence, exclusive-or'ed with `errorMask`.
/// Returns the length on the wire; the buffer must have room for it.
std::size_t sealFrame(std::uint8_t* frame, std::size_t bytes, std::uint32_t errorMask = 0) noexcept;

/// True for a frame of 64 to 1518 bytes whose frame check sequence is right.
bool isGoodFrame(WireBytes frame) noexcept;

/// The frame without its frame check sequence; empty where there is not even that.
WireBytes withoutFcs(WireBytes frame) noexcept;

} // namespace orvo::sim
