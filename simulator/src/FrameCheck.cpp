// The frame check sequence, by zlib.
#include "FrameCheck.h"

#include <zlib.h>

namespace orvo::sim {

std::uint32_t frameCheckSequence(std::span<const std::uint8_t> bytes) noexcept {
    return static_cast<std::uint32_t>(crc32_z(0, bytes.data(), bytes.size()));
}

} // namespace orvo::sim
