// SPDX-License-Identifier: MIT
#include "frames/Packet.h"

#include <fmt/format.h>

#include <arpa/inet.h>

#include <algorithm>

namespace orvo::host {
namespace {

constexpr std::size_t macBytes = 6;
constexpr std::size_t ethernetBytes = 14;
constexpr std::size_t tagBytes = 4;
constexpr std::uint16_t tagTypes[] = {0x8100, 0x88A8}; // customer and service tag
constexpr std::size_t ipv4Bytes = 20;
constexpr std::size_t ipv6Bytes = 40;

std::optional<IpPacket> readIpv4(Bytes packet) noexcept {
    if (packet.size() < ipv4Bytes || packet[0] >> 4 != 4) return std::nullopt;
    const std::size_t headerBytes = 4u * (packet[0] & 0xFu);
    const std::size_t totalBytes = big16(packet, 2);
    if (headerBytes < ipv4Bytes || totalBytes < headerBytes || packet.size() < headerBytes)
        return std::nullopt;
    const auto fragment = big16(packet, 6);
    const std::uint32_t offset = 8u * (fragment & 0x1FFFu);
    const auto end = std::min(totalBytes, packet.size());
    return IpPacket{packet.subspan(12, 4),
                    packet.subspan(16, 4),
                    packet[9],
                    offset,
                    offset != 0 || (fragment & 0x2000u) != 0,
                    packet.subspan(headerBytes, end - headerBytes)};
}

bool isPassedOver(std::uint8_t ipv6Header) noexcept {
    return ipv6Header == 0 || ipv6Header == 43 ||
           ipv6Header == 60; // hop-by-hop, routing, destination options
}

std::optional<IpPacket> readIpv6(Bytes packet) noexcept {
    constexpr std::uint8_t fragmentHeader = 44;
    if (packet.size() < ipv6Bytes || packet[0] >> 4 != 6) return std::nullopt;
    const auto announced = ipv6Bytes + big16(packet, 4);
    IpPacket ip{packet.subspan(8, 16),
                packet.subspan(24, 16),
                packet[6],
                0,
                false,
                packet.subspan(ipv6Bytes, std::min(announced, packet.size()) - ipv6Bytes)};
    while (isPassedOver(ip.protocol) || ip.protocol == fragmentHeader) {
        if (ip.payload.size() < 8) return std::nullopt;
        const bool isFragment = ip.protocol == fragmentHeader;
        const std::size_t bytes = isFragment ? 8 : 8u * (ip.payload[1] + 1u);
        if (ip.payload.size() < bytes) return std::nullopt;
        ip.protocol = ip.payload[0];
        if (isFragment) {
            ip.isFragment = true;
            ip.fragmentOffset = big16(ip.payload, 2) & 0xFFF8u;
        }
        ip.payload = ip.payload.subspan(bytes);
        if (ip.fragmentOffset != 0) break; // what follows is the middle of something
    }
    return ip;
}

} // namespace

std::optional<EthernetHeader> readEthernet(Bytes frame) noexcept {
    if (frame.size() < ethernetBytes) return std::nullopt;
    EthernetHeader header{frame.first(macBytes), frame.subspan(macBytes, macBytes), std::nullopt,
                          big16(frame, 2 * macBytes), frame.subspan(ethernetBytes)};
    while (std::ranges::find(tagTypes, header.type) != std::end(tagTypes)) {
        if (header.payload.size() < tagBytes) return std::nullopt;
        if (!header.vlan) header.vlan = big16(header.payload, 0) & 0xFFFu;
        header.type = big16(header.payload, 2);
        header.payload = header.payload.subspan(tagBytes);
    }
    return header;
}

std::optional<ArpPacket> readArp(const EthernetHeader& ethernet) noexcept {
    const auto packet = ethernet.payload;
    constexpr std::uint32_t ethernetAndIpv4 = 0x0001'0800;
    if (ethernet.type != EtherTypeArp || packet.size() < 28 || big32(packet, 0) != ethernetAndIpv4 ||
        big16(packet, 4) != 0x0604) // lengths of their addresses
        return std::nullopt;
    return ArpPacket{big16(packet, 6), packet.subspan(8, macBytes), packet.subspan(14, 4),
                     packet.subspan(18, macBytes), packet.subspan(24, 4)};
}

std::optional<IpPacket> readIp(const EthernetHeader& ethernet) noexcept {
    if (ethernet.type == EtherTypeIpv4) return readIpv4(ethernet.payload);
    if (ethernet.type == EtherTypeIpv6) return readIpv6(ethernet.payload);
    return std::nullopt;
}

std::optional<UdpDatagram> readUdp(const IpPacket& ip) noexcept {
    constexpr std::size_t headerBytes = 8;
    if (ip.protocol != IpUdp || ip.fragmentOffset != 0 || ip.payload.size() < headerBytes)
        return std::nullopt;
    const std::size_t announced = big16(ip.payload, 4);
    if (announced < headerBytes) return std::nullopt;
    const auto end = std::min(announced, ip.payload.size());
    return UdpDatagram{big16(ip.payload, 0), big16(ip.payload, 2),
                       ip.payload.subspan(headerBytes, end - headerBytes)};
}

std::optional<TcpSegment> readTcp(const IpPacket& ip) noexcept {
    constexpr std::size_t leastBytes = 20;
    if (ip.protocol != IpTcp || ip.fragmentOffset != 0 || ip.payload.size() < leastBytes) return std::nullopt;
    const std::size_t headerBytes = 4u * (ip.payload[12] >> 4);
    if (headerBytes < leastBytes || ip.payload.size() < headerBytes) return std::nullopt;
    return TcpSegment{big16(ip.payload, 0),           big16(ip.payload, 2), big32(ip.payload, 4),
                      big32(ip.payload, 8),           ip.payload[13],       big16(ip.payload, 14),
                      ip.payload.subspan(headerBytes)};
}

std::string macText(Bytes address) {
    return fmt::format("{:02x}", fmt::join(address, ":"));
}

std::string ipText(Bytes address) {
    char text[INET6_ADDRSTRLEN] = "";
    inet_ntop(address.size() == 4 ? AF_INET : AF_INET6, address.data(), text, sizeof text);
    return text;
}

} // namespace orvo::host
