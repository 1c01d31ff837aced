// SPDX-License-Identifier: MIT
// The blocks of a pcapng file, as bytes in the machine's byte order, which readers recognise.
#pragma once

#include "frames/OutputFrame.h"

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
    std::uint8_t fcsBytes = 0; ///< of the check sequence that ends each frame
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

/// The size of an enhanced packet block with this frame.
std::size_t enhancedPacketBytes(const OutputFrame& frame) noexcept;

/// Writes an enhanced packet block to `out`, which has room for `enhancedPacketBytes(frame)`.
void putEnhancedPacket(std::uint8_t* out, const OutputFrame& frame, Timestamp time) noexcept;

} // namespace orvo::host::pcapng
