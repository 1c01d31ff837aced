// SPDX-License-Identifier: MIT
// The checksum of IP, TCP and UDP, where the sender left it to its network card.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace orvo::sim {

/// Replaces the sum of the pseudo header, `offset` bytes behind `start`, by the checksum of everything from
/// `start` on. Leaves a frame alone that is too short for it.
void finishChecksum(std::span<std::uint8_t> frame, std::size_t start, std::size_t offset) noexcept;

} // namespace orvo::sim
