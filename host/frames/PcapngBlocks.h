// SPDX-License-Identifier: MIT
// The blocks of a pcapng file, as bytes in the machine's byte order, which readers recognise.
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

/// The block that begins the file; `application` is the program that wrote it.
Bytes sectionHeader(const std::string& application);

/// How a file names and describes the interface that received its frames.
struct Interface {
    std::string name;
    std::string description;
};

/// One interface of link type Ethernet. Interfaces are numbered from 0 in the order of their descriptions.
Bytes interfaceDescription(const Interface& interface);

struct InterfaceStatistics {
    std::uint32_t interface = 0;
    Timestamp begin = 0;
    Timestamp end = 0;
    std::uint64_t receivedFrames = 0;
    std::optional<std::uint64_t> droppedFrames; ///< nothing: unknown, and not written
};
Bytes interfaceStatistics(const InterfaceStatistics& statistics);

/// The size of an enhanced packet block with a frame of this size.
std::size_t enhancedPacketBytes(std::size_t frameBytes) noexcept;

/// Writes an enhanced packet block to `out`, which has room for `enhancedPacketBytes(frameBytes)`.
void putEnhancedPacket(std::uint8_t* out, std::uint32_t interface, Timestamp time, const void* frame,
                       std::size_t frameBytes) noexcept;

} // namespace orvo::host::pcapng
