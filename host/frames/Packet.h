// SPDX-License-Identifier: MIT
// Headers of the protocols in a frame: Ethernet II with VLAN tags, ARP, IPv4, IPv6, UDP, TCP. Each reader
// checks every length and returns nothing where the bytes do not suffice. Nothing is copied: results point
// into the frame.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace orvo::host {

using Bytes = std::span<const std::uint8_t>;

/// Numbers in network byte order. The bytes must be there.
inline std::uint16_t big16(Bytes bytes, std::size_t offset) noexcept {
    return static_cast<std::uint16_t>(bytes[offset] << 8 | bytes[offset + 1]);
}
inline std::uint32_t big32(Bytes bytes, std::size_t offset) noexcept {
    return std::uint32_t{big16(bytes, offset)} << 16 | big16(bytes, offset + 2);
}
inline std::uint64_t big64(Bytes bytes, std::size_t offset) noexcept {
    return std::uint64_t{big32(bytes, offset)} << 32 | big32(bytes, offset + 4);
}

enum EtherType : std::uint16_t { EtherTypeIpv4 = 0x0800, EtherTypeArp = 0x0806, EtherTypeIpv6 = 0x86DD };
enum IpProtocol : std::uint8_t { IpIcmp = 1, IpTcp = 6, IpUdp = 17, IpIcmpv6 = 58 };

/// IEEE 802.3 in Ethernet II form; with IEEE 802.1Q tags, the innermost type and the outermost VLAN.
struct EthernetHeader {
    Bytes destination, source;         ///< 6 bytes each
    std::optional<std::uint16_t> vlan; ///< 0 to 4095
    std::uint16_t type;                ///< under 1536: a length, as in IEEE 802.3
    Bytes payload;                     ///< padding included
};
std::optional<EthernetHeader> readEthernet(Bytes frame) noexcept;

/// RFC 826, for IPv4 over Ethernet.
struct ArpPacket {
    std::uint16_t operation; ///< 1 request, 2 reply
    Bytes senderHardware, sender, targetHardware, target;
};
std::optional<ArpPacket> readArp(const EthernetHeader& ethernet) noexcept;

/// RFC 791 or RFC 8200; the IPv6 extension headers for hop-by-hop, routing, destination and fragments are
/// passed over.
struct IpPacket {
    Bytes source, destination;    ///< 4 or 16 bytes
    std::uint8_t protocol;        ///< of the payload
    std::uint32_t fragmentOffset; ///< bytes; a fragment's payload has no header of its own unless it is 0
    bool isFragment;
    Bytes payload; ///< without the frame's padding; shorter than announced where the frame is cut off
};
std::optional<IpPacket> readIp(const EthernetHeader& ethernet) noexcept;

/// RFC 768.
struct UdpDatagram {
    std::uint16_t sourcePort, destinationPort;
    Bytes payload;
};
std::optional<UdpDatagram> readUdp(const IpPacket& ip) noexcept;

/// RFC 9293.
struct TcpSegment {
    std::uint16_t sourcePort, destinationPort;
    std::uint32_t sequence, acknowledgment;
    std::uint8_t flags; ///< FIN 1, SYN 2, RST 4, PSH 8, ACK 16, URG 32
    std::uint16_t window;
    Bytes payload;
};
std::optional<TcpSegment> readTcp(const IpPacket& ip) noexcept;

/// "00:11:22:33:44:55".
std::string macText(Bytes address);
/// An IPv4 or IPv6 address, by its length.
std::string ipText(Bytes address);

} // namespace orvo::host
