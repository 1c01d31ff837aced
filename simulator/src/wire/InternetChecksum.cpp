// SPDX-License-Identifier: MIT
// Ones' complement sums, in the machine's byte order: they come out right in any, as long as it is kept.
#include "wire/InternetChecksum.h"

#include <cstring>

namespace orvo::sim {

namespace {

std::uint16_t sumOf(std::span<const std::uint8_t> bytes) noexcept {
    std::uint64_t sum = 0;
    std::uint32_t unit = 0;
    for (; bytes.size() >= sizeof unit; bytes = bytes.subspan(sizeof unit)) {
        std::memcpy(&unit, bytes.data(), sizeof unit);
        sum += unit;
    }
    unit = 0;
    std::memcpy(&unit, bytes.data(), bytes.size());
    sum += unit;
    while (sum > 0xFFFF) sum = (sum & 0xFFFF) + (sum >> 16);
    return static_cast<std::uint16_t>(sum);
}

} // namespace

void finishChecksum(std::span<std::uint8_t> frame, std::size_t start, std::size_t offset) noexcept {
    if (start > frame.size() || offset + sizeof(std::uint16_t) > frame.size() - start) return;
    auto checksum = static_cast<std::uint16_t>(~sumOf(frame.subspan(start)));
    if (checksum == 0) checksum = 0xFFFF; // to UDP, 0 means that there is none
    std::memcpy(frame.data() + start + offset, &checksum, sizeof checksum);
}

} // namespace orvo::sim
