// SPDX-License-Identifier: MIT
// The header in front of a frame that is not finished yet, at packet sockets and TAPs.
#pragma once

#include <cstddef>
#include <cstdint>

namespace orvo::offload {

/// What is left to do on a frame. <linux/virtio_net.h> calls it virtio_net_hdr, but is not C++. Numbers are
/// in the machine's byte order.
struct OffloadHeader {
    static constexpr std::uint8_t needsChecksum = 1; ///< in `flags`

    static constexpr std::uint8_t notJoined = 0; ///< in `segmentation`; each may come with `withEcn`
    static constexpr std::uint8_t tcpOverIpv4 = 1;
    static constexpr std::uint8_t tcpOverIpv6 = 4;
    static constexpr std::uint8_t udp = 5;
    static constexpr std::uint8_t withEcn = 0x80; ///< the first segment reports a reduced congestion window

    /// Bytes of a joined frame at most: an IP packet of 64 KiB with Ethernet header and tags.
    static constexpr std::size_t longestFrame = 65'600;

    std::uint8_t flags = 0;
    std::uint8_t segmentation = notJoined;
    std::uint16_t headerBytes = 0;    ///< a hint
    std::uint16_t segmentBytes = 0;   ///< payload of each segment but the last
    std::uint16_t checksumStart = 0;  ///< from the start of the frame
    std::uint16_t checksumOffset = 0; ///< of the field, from there

    bool isJoined() const noexcept { return (segmentation & ~withEcn) != notJoined; }
};
static_assert(sizeof(OffloadHeader) == 10);

} // namespace orvo::offload
