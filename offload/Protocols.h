// SPDX-License-Identifier: MIT
// Numbers and layouts of Ethernet, IP, TCP and UDP (IEEE 802.3 and 802.1Q, RFC 791, 8200, 9293, 768).
#pragma once

#include <cstddef>
#include <cstdint>

namespace orvo::offload {

inline constexpr std::uint16_t typeIpv4 = 0x0800, typeIpv6 = 0x86DD, typeTag = 0x8100,
                               typeProviderTag = 0x88A8;

inline constexpr std::uint8_t protocolHopByHop = 0, protocolIpv4 = 4, protocolTcp = 6, protocolUdp = 17,
                              protocolIpv6 = 41, protocolRouting = 43, protocolGre = 47,
                              protocolDestination = 60;

// Shortest headers, in bytes.
inline constexpr std::size_t ethernetBytes = 14, tagBytes = 4, ipv4Bytes = 20, ipv6Bytes = 40,
                             extensionBytes = 8, tcpBytes = 20, udpBytes = 8;

// Fields, in bytes from the beginning of their header.
inline constexpr std::size_t ipv4Length = 2, ipv4Identification = 4, ipv4Fragment = 6, ipv4Protocol = 9,
                             ipv4Checksum = 10, ipv4Addresses = 12;
inline constexpr std::size_t ipv6Length = 4, ipv6NextHeader = 6, ipv6Addresses = 8, routingStationsLeft = 3;
inline constexpr std::size_t tcpSequence = 4, tcpDataOffset = 12, tcpFlags = 13, tcpChecksum = 16;
inline constexpr std::size_t udpLength = 4, udpChecksum = 6;

inline constexpr std::uint8_t flagFin = 0x01, flagPush = 0x08, flagAck = 0x10, flagEce = 0x40, flagCwr = 0x80;

} // namespace orvo::offload
