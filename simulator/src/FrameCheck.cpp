// SPDX-License-Identifier: MIT
// The frame check sequence, by libdeflate, which multiplies without carries where the processor can.
#include "FrameCheck.h"

#include <libdeflate.h>

namespace orvo::sim {

std::uint32_t frameCheckSequence(std::span<const std::uint8_t> bytes) noexcept {
    return libdeflate_crc32(0, bytes.data(), bytes.size());
}

} // namespace orvo::sim
