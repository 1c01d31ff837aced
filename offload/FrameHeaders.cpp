// SPDX-License-Identifier: MIT
// Of IPv6's extension headers, those are passed over that every segment may repeat: hop-by-hop and
// destination options, and routing that has come to its end (else the checksum covers another address).
#include "FrameHeaders.h"

#include "Checksum.h"
#include "Protocols.h"

#include <optional>

namespace orvo::offload {

namespace {

using Bytes = std::span<const std::uint8_t>;

/// Follows the headers of one frame. Each step returns why it cannot go on.
class Reader {
public:
    using Stop = std::optional<Uncuttable>;

    Reader(Bytes frame, std::size_t frameBytes) noexcept : frame_(frame), frameBytes_(frameBytes) {}

    Stop readEthernet() noexcept {
        std::size_t at = ethernetBytes - 2;
        while (has(at, 2) && isTag(numberAt(frame_, at))) at += tagBytes;
        if (!has(at, 3)) return Uncuttable::Broken;
        found.network = at + 2;
        found.isIpv6 = numberAt(frame_, at) == typeIpv6;
        if (!found.isIpv6 && numberAt(frame_, at) != typeIpv4) return Uncuttable::Unknown;
        if (frame_[found.network] >> 4 != (found.isIpv6 ? 6 : 4)) return Uncuttable::Broken;
        return found.isIpv6 ? readIpv6() : readIpv4();
    }

    Stop readTransport() noexcept {
        found.isTcp = protocol_ == protocolTcp;
        const bool isTunnel =
            protocol_ == protocolIpv4 || protocol_ == protocolIpv6 || protocol_ == protocolGre;
        if (isTunnel) return Uncuttable::Encapsulated;
        if (!found.isTcp && protocol_ != protocolUdp) return Uncuttable::Unknown;
        if (!has(found.transport, found.isTcp ? tcpBytes : udpBytes)) return Uncuttable::Broken;
        const std::size_t bytes =
            found.isTcp ? std::size_t{4} * (frame_[found.transport + tcpDataOffset] >> 4) : udpBytes;
        if (found.isTcp && bytes < tcpBytes) return Uncuttable::Broken;
        found.payload = found.transport + bytes;
        if (!has(found.transport, bytes) || found.payload >= found.end) return Uncuttable::Broken;
        return std::nullopt;
    }

    FrameHeaders found;

private:
    static bool isTag(std::uint16_t type) noexcept { return type == typeTag || type == typeProviderTag; }
    bool has(std::size_t at, std::size_t bytes) const noexcept { return at + bytes <= frame_.size(); }

    Stop readIpv4() noexcept {
        const std::size_t at = found.network;
        if (!has(at, ipv4Bytes)) return Uncuttable::Broken;
        const std::size_t bytes = std::size_t{4} * (frame_[at] & 0xF);
        if (bytes < ipv4Bytes || !has(at, bytes)) return Uncuttable::Broken;
        constexpr std::uint16_t moreOrOffset = 0x3FFF;
        if ((numberAt(frame_, at + ipv4Fragment) & moreOrOffset) != 0) return Uncuttable::Unknown;
        protocol_ = frame_[at + ipv4Protocol];
        found.transport = at + bytes;
        return endAt(at, numberAt(frame_, at + ipv4Length), 0);
    }

    Stop readIpv6() noexcept {
        const std::size_t at = found.network;
        if (!has(at, ipv6Bytes)) return Uncuttable::Broken;
        protocol_ = frame_[at + ipv6NextHeader];
        found.transport = at + ipv6Bytes;
        if (const auto stop = endAt(at, numberAt(frame_, at + ipv6Length), ipv6Bytes)) return stop;
        while (protocol_ == protocolHopByHop || protocol_ == protocolRouting ||
               protocol_ == protocolDestination)
            if (const auto stop = passExtension()) return stop;
        return std::nullopt;
    }

    Stop passExtension() noexcept {
        const std::size_t at = found.transport;
        if (!has(at, extensionBytes)) return Uncuttable::Broken;
        if (protocol_ == protocolRouting && frame_[at + routingStationsLeft] != 0) return Uncuttable::Unknown;
        protocol_ = frame_[at];
        found.transport += extensionBytes * (std::size_t{frame_[at + 1]} + 1);
        return std::nullopt;
    }

    /// A length of 0 stands for one that the field cannot hold.
    Stop endAt(std::size_t start, std::uint16_t length, std::size_t notCounted) noexcept {
        if (length == 0) return Uncuttable::TooLong;
        found.end = start + length + notCounted;
        if (found.end > frameBytes_) return Uncuttable::Broken;
        return std::nullopt;
    }

    const Bytes frame_;
    const std::size_t frameBytes_;
    std::uint8_t protocol_ = 0;
};

/// What the system says about the frame must be about these headers, not others inside.
std::optional<Uncuttable> disagreement(const OffloadHeader& header, const FrameHeaders& found) noexcept {
    const bool isOpen = (header.flags & OffloadHeader::needsChecksum) != 0;
    if (isOpen && header.checksumStart != found.transport) return Uncuttable::Encapsulated;
    const int kind = header.segmentation & ~OffloadHeader::withEcn;
    if (kind == OffloadHeader::udp) return found.isTcp ? std::optional(Uncuttable::Broken) : std::nullopt;
    if (!found.isTcp) return Uncuttable::Encapsulated;
    if (kind != (found.isIpv6 ? OffloadHeader::tcpOverIpv6 : OffloadHeader::tcpOverIpv4))
        return Uncuttable::Encapsulated;
    return std::nullopt;
}

} // namespace

std::variant<FrameHeaders, Uncuttable> readHeaders(const OffloadHeader& header, Bytes frame,
                                                   std::size_t frameBytes) noexcept {
    const int kind = header.segmentation & ~OffloadHeader::withEcn;
    if (kind != OffloadHeader::tcpOverIpv4 && kind != OffloadHeader::tcpOverIpv6 &&
        kind != OffloadHeader::udp)
        return Uncuttable::Unknown;
    if (header.segmentBytes == 0) return Uncuttable::Broken;
    const auto headers = readHeaders(frame, frameBytes);
    if (const auto* const found = std::get_if<FrameHeaders>(&headers))
        if (const auto stop = disagreement(header, *found)) return *stop;
    return headers;
}

std::variant<FrameHeaders, Uncuttable> readHeaders(Bytes frame, std::size_t frameBytes) noexcept {
    Reader reader(frame, frameBytes);
    if (const auto stop = reader.readEthernet()) return *stop;
    if (const auto stop = reader.readTransport()) return *stop;
    return reader.found;
}

} // namespace orvo::offload
