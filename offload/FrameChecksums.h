// SPDX-License-Identifier: MIT
// The checksums and lengths of a frame of TCP or UDP.
#pragma once

#include "Checksum.h"
#include "FrameHeaders.h"

namespace orvo::offload {

/// The sum of the pseudo header in front of a datagram of this length.
OnesSum pseudoHeaderSum(const FrameHeaders& at, std::span<const std::uint8_t> frame,
                        std::size_t datagramBytes) noexcept;
/// As it belongs into the IPv4 header, whatever is there now.
std::uint16_t networkChecksum(const FrameHeaders& at, std::span<const std::uint8_t> frame) noexcept;
/// The same for the TCP or UDP header; the datagram ends with the frame.
std::uint16_t transportChecksum(const FrameHeaders& at, std::span<const std::uint8_t> frame) noexcept;

/// Into the length field of the IP header that `packet` begins with.
void putPacketBytes(std::span<std::uint8_t> packet, bool isIpv6, std::size_t bytes) noexcept;

} // namespace orvo::offload
