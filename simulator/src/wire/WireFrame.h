// SPDX-License-Identifier: MIT
// Frames as they are on the wire: padded, with their frame check sequence.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>

namespace orvo::sim {

// Registers and queues carry a frame in units of 16 bits, first byte low, and the check sequence comes least
// significant byte first: on a little-endian machine both have the same bytes in memory.
static_assert(std::endian::native == std::endian::little);

inline constexpr std::size_t fcsBytes = 4;
inline constexpr std::size_t minWireBytes = 64;   // frame check sequence included
inline constexpr std::size_t maxWireBytes = 1518; // likewise
inline constexpr std::size_t minFrameBytes = minWireBytes - fcsBytes;
inline constexpr std::size_t maxFrameBytes = maxWireBytes - fcsBytes;

/// The bytes of a frame on the wire.
using WireBytes = std::span<const std::uint8_t>;

/// Pads a frame of `bytes` bytes to 60 and appends its frame check sequence, exclusive-or'ed with
/// `errorMask`. Returns the length on the wire; the buffer must have room for it.
std::size_t sealFrame(std::uint8_t* frame, std::size_t bytes, std::uint32_t errorMask = 0) noexcept;

/// Whether the last four bytes are the check sequence of those before.
bool hasRightFcs(WireBytes frame) noexcept;
/// True for a frame of 64 to 1518 bytes whose frame check sequence is right.
bool isGoodFrame(WireBytes frame) noexcept;

/// The frame without its last four bytes; empty when it is shorter.
WireBytes withoutFcs(WireBytes frame) noexcept;

} // namespace orvo::sim
