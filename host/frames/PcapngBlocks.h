// SPDX-License-Identifier: MIT
// The blocks of a pcapng file that the writer needs, as bytes in the machine's byte order, which readers
// recognise.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace orvo::host::pcapng {

using Bytes = std::vector<std::uint8_t>;

/// Nanoseconds since 1970-01-01 UTC: every interface here has this resolution.
using Timestamp = std::uint64_t;

inline constexpr std::uint32_t snapLength = 65'536; ///< no port delivers a longer frame

/// What the file says of itself.
Bytes sectionHeader(const std::string& application);

/// One interface of link type Ethernet. Interfaces are numbered from 0 in the order of their descriptions.
Bytes interfaceDescription(const std::string& name, const std::string& description);

struct InterfaceStatistics {
    std::uint32_t interface = 0;
    Timestamp begin = 0;
    Timestamp end = 0;
    std::uint64_t receivedFrames = 0;
    std::optional<std::uint64_t> droppedFrames; ///< unknown: not written
};
Bytes interfaceStatistics(const InterfaceStatistics& statistics);

/// Bytes of an enhanced packet block around a frame.
std::size_t enhancedPacketBytes(std::size_t frameBytes) noexcept;

/// Writes an enhanced packet block to `out`, which has room for `enhancedPacketBytes(frameBytes)`.
void putEnhancedPacket(std::uint8_t* out, std::uint32_t interface, Timestamp time, const void* frame,
                       std::size_t frameBytes) noexcept;

} // namespace orvo::host::pcapng
