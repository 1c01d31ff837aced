// SPDX-License-Identifier: MIT
#include "Checksum.h"

namespace orvo::offload {

OnesSum& OnesSum::add(std::span<const std::uint8_t> bytes) noexcept {
    std::uint32_t unit = 0;
    const std::size_t units = bytes.size() / sizeof unit;
    std::uint64_t sum = 0;
    for (std::size_t i = 0; i < units; ++i) { // the compiler makes vectors of it
        std::memcpy(&unit, bytes.data() + i * sizeof unit, sizeof unit);
        sum += unit;
    }
    const auto rest = bytes.subspan(units * sizeof unit);
    unit = 0;
    if (!rest.empty()) std::memcpy(&unit, rest.data(), rest.size());
    sum_ += sum + unit;
    return *this;
}

std::uint16_t OnesSum::checksum() const noexcept {
    auto sum = sum_;
    while (sum > 0xFFFF) sum = (sum & 0xFFFF) + (sum >> 16);
    return static_cast<std::uint16_t>(~sum);
}

} // namespace orvo::offload
