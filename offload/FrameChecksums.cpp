// SPDX-License-Identifier: MIT
#include "FrameChecksums.h"

#include "Protocols.h"

namespace orvo::offload {

namespace {

/// `field` is at an even distance from the beginning.
OnesSum& addWithout(OnesSum& sum, std::span<const std::uint8_t> bytes, std::size_t field) noexcept {
    return sum.add(bytes.first(field)).add(bytes.subspan(field + sizeof(std::uint16_t)));
}

} // namespace

void putPacketBytes(std::span<std::uint8_t> packet, bool isIpv6, std::size_t bytes) noexcept {
    if (isIpv6)
        putNumber(packet, ipv6Length, bytes - ipv6Bytes);
    else
        putNumber(packet, ipv4Length, bytes);
}

OnesSum pseudoHeaderSum(const FrameHeaders& at, std::span<const std::uint8_t> frame,
                        std::size_t datagramBytes) noexcept {
    const auto packet = frame.subspan(at.network);
    return OnesSum()
        .add(at.isIpv6 ? packet.subspan(ipv6Addresses, 32) : packet.subspan(ipv4Addresses, 8))
        .addNumber(at.isTcp ? protocolTcp : protocolUdp)
        .addNumber(static_cast<std::uint16_t>(datagramBytes));
}

std::uint16_t networkChecksum(const FrameHeaders& at, std::span<const std::uint8_t> frame) noexcept {
    OnesSum sum;
    return addWithout(sum, frame.subspan(at.network, at.transport - at.network), ipv4Checksum).checksum();
}

std::uint16_t transportChecksum(const FrameHeaders& at, std::span<const std::uint8_t> frame) noexcept {
    const auto datagram = frame.subspan(at.transport);
    auto sum = pseudoHeaderSum(at, frame, datagram.size());
    return addWithout(sum, datagram, at.isTcp ? tcpChecksum : udpChecksum).checksum();
}

} // namespace orvo::offload
