// SPDX-License-Identifier: MIT
// The frame check sequence of IEEE 802.3.
#pragma once

#include <cstdint>
#include <span>

namespace orvo::sim {

/// The CRC-32 of the bytes, as a frame carries it least significant byte first.
std::uint32_t frameCheckSequence(std::span<const std::uint8_t> bytes) noexcept;

} // namespace orvo::sim
