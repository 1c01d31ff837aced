// SPDX-License-Identifier: MIT
#include "frames/UdpFrame.h"

namespace orvo::host {
namespace {

using ByteVector = std::vector<std::uint8_t>;

void append(ByteVector& bytes, Bytes more) {
    bytes.insert(bytes.end(), more.begin(), more.end());
}

/// RFC 1071; the header's own checksum is 0 so far.
std::uint16_t checksumOf(Bytes header) {
    std::uint32_t sum = 0;
    for (std::size_t i = 0; i + 1 < header.size(); i += 2) sum += big16(header, i);
    while (sum >> 16 != 0) sum = (sum & 0xFFFF) + (sum >> 16);
    return static_cast<std::uint16_t>(~sum);
}

ByteVector ipv4Header(const UdpEnd& from, const UdpEnd& to, std::size_t datagramBytes) {
    ByteVector header;
    appendBig(header, 0x4500, 2); // version 4, five words
    appendBig(header, 20 + datagramBytes, 2);
    appendBig(header, 0x4000, 4); // do not fragment
    appendBig(header, 64, 1);     // hops
    appendBig(header, IpUdp, 1);
    appendBig(header, 0, 2);
    appendBig(header, from.address, 4);
    appendBig(header, to.address, 4);
    const auto checksum = checksumOf(header);
    header[10] = static_cast<std::uint8_t>(checksum >> 8);
    header[11] = static_cast<std::uint8_t>(checksum);
    return header;
}

ByteVector ethernetHeader(Bytes destination, Bytes source, EtherType type) {
    ByteVector frame;
    append(frame, destination);
    append(frame, source);
    appendBig(frame, type, 2);
    return frame;
}

} // namespace

void appendBig(ByteVector& bytes, std::uint64_t value, unsigned count) {
    while (count-- > 0) bytes.push_back(static_cast<std::uint8_t>(value >> 8 * count));
}

ByteVector udpFrame(const UdpEnd& from, const UdpEnd& to, Bytes payload) {
    constexpr std::size_t udpHeaderBytes = 8;
    auto frame = ethernetHeader(to.mac, from.mac, EtherTypeIpv4);
    append(frame, ipv4Header(from, to, udpHeaderBytes + payload.size()));
    appendBig(frame, from.port, 2);
    appendBig(frame, to.port, 2);
    appendBig(frame, udpHeaderBytes + payload.size(), 2);
    appendBig(frame, 0, 2); // no checksum
    append(frame, payload);
    return frame;
}

ByteVector arpReply(const ArpPacket& request, const MacAddress& mac) {
    auto frame = ethernetHeader(request.senderHardware, mac, EtherTypeArp);
    appendBig(frame, 0x0001'0800'0604'0002, 8); // Ethernet, IPv4, their lengths, reply
    append(frame, mac);
    append(frame, request.target);
    append(frame, request.senderHardware);
    append(frame, request.sender);
    return frame;
}

} // namespace orvo::host
