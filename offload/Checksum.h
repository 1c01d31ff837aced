// SPDX-License-Identifier: MIT
// The checksum of IP, TCP and UDP (RFC 1071), and numbers in network byte order.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

namespace orvo::offload {

/// A ones' complement sum in the machine's byte order, which any part of it then has too.
class OnesSum {
public:
    /// Bytes at an even distance from those before; an odd number of them only at the end.
    OnesSum& add(std::span<const std::uint8_t> bytes) noexcept;
    OnesSum& addNumber(std::uint16_t value) noexcept {
        const std::uint8_t stored[] = {static_cast<std::uint8_t>(value >> 8),
                                       static_cast<std::uint8_t>(value)};
        return add(stored);
    }
    /// As it belongs into the field.
    std::uint16_t checksum() const noexcept;

private:
    std::uint64_t sum_ = 0;
};

inline std::uint16_t numberAt(std::span<const std::uint8_t> bytes, std::size_t at) noexcept {
    return static_cast<std::uint16_t>(bytes[at] << 8 | bytes[at + 1]);
}
inline void putNumber(std::span<std::uint8_t> bytes, std::size_t at, std::size_t value) noexcept {
    bytes[at] = static_cast<std::uint8_t>(value >> 8);
    bytes[at + 1] = static_cast<std::uint8_t>(value);
}
inline std::uint32_t longNumberAt(std::span<const std::uint8_t> bytes, std::size_t at) noexcept {
    return std::uint32_t{numberAt(bytes, at)} << 16 | numberAt(bytes, at + 2);
}
inline void putLongNumber(std::span<std::uint8_t> bytes, std::size_t at, std::size_t value) noexcept {
    putNumber(bytes, at, value >> 16);
    putNumber(bytes, at + 2, value);
}
/// In the machine's byte order.
inline std::uint16_t storedAt(std::span<const std::uint8_t> bytes, std::size_t at) noexcept {
    std::uint16_t value = 0;
    std::memcpy(&value, bytes.subspan(at, sizeof value).data(), sizeof value);
    return value;
}
inline void putStored(std::span<std::uint8_t> bytes, std::size_t at, std::uint16_t value) noexcept {
    std::memcpy(bytes.subspan(at, sizeof value).data(), &value, sizeof value);
}

} // namespace orvo::offload
