// SPDX-License-Identifier: MIT
// Frames of one's own: UDP over IPv4, and answers to ARP. They have no padding.
#pragma once

#include "frames/Packet.h"

#include <array>
#include <cstdint>
#include <vector>

namespace orvo::host {

using MacAddress = std::array<std::uint8_t, 6>;
inline constexpr MacAddress broadcastMac = {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};

/// One end of a datagram.
struct UdpEnd {
    MacAddress mac;
    std::uint32_t address; ///< IPv4
    std::uint16_t port;
};

/// Numbers are appended in network byte order.
void appendBig(std::vector<std::uint8_t>& bytes, std::uint64_t value, unsigned count);

std::vector<std::uint8_t> udpFrame(const UdpEnd& from, const UdpEnd& to, Bytes payload);

/// `mac` has the address that the request asks for.
std::vector<std::uint8_t> arpReply(const ArpPacket& request, const MacAddress& mac);

} // namespace orvo::host
