// SPDX-License-Identifier: MIT
// Joined frames as a network stack leaves them to its network card, and a reader of the frames that become of
// them, which shares nothing with the cutter.
#pragma once

#include <offload/OffloadHeader.h>

#include <cstdint>
#include <cstring>
#include <optional>
#include <span>
#include <vector>

namespace orvo::test {

using FrameBytes = std::vector<std::uint8_t>;
using FrameView = std::span<const std::uint8_t>;

inline const FrameBytes tag = {0x81, 0, 0x20, 5};
inline const FrameBytes timestamps = {1, 1, 8, 10, 1, 2, 3, 4, 5, 6, 7, 8}; // an option of TCP

inline std::size_t read16(FrameView bytes, std::size_t at) {
    return bytes[at] * std::size_t{256} + bytes[at + 1];
}

/// The sum of 16-bit numbers, folded; 0xFFFF over whatever holds its own checksum.
inline std::size_t foldedSum(FrameView bytes, std::size_t begin) {
    std::size_t sum = begin;
    for (std::size_t i = 0; i < bytes.size(); ++i) sum += std::size_t{bytes[i]} << (i % 2 == 0 ? 8 : 0);
    while (sum > 0xFFFF) sum = sum % 0x10000 + sum / 0x10000;
    return sum;
}

struct JoinedForm {
    bool isIpv6 = false;
    bool isTcp = true;
    FrameBytes tags = {};      ///< between addresses and type
    FrameBytes ipOptions = {}; ///< of IPv4; of IPv6 a whole extension header, for destination options
    FrameBytes tcpOptions = {};
    std::uint8_t tcpFlags = 0x18; ///< ACK and PSH
    std::size_t payloadBytes = 4000;
    std::uint16_t segmentBytes = 1448;
};

struct JoinedFrame {
    offload::OffloadHeader header;
    FrameBytes bytes;
    FrameBytes payload;

    /// As a packet socket takes it.
    FrameBytes withHeader() const {
        FrameBytes all(sizeof header);
        std::memcpy(all.data(), &header, sizeof header);
        all.insert(all.end(), bytes.begin(), bytes.end());
        return all;
    }
};

inline JoinedFrame joinedFrame(const JoinedForm& form) {
    JoinedFrame made;
    made.payload.resize(form.payloadBytes);
    for (std::size_t i = 0; i < form.payloadBytes; ++i)
        made.payload[i] = static_cast<std::uint8_t>(i * 31 + i / 256 * 7 + 1);
    FrameBytes transport = {0x12, 0x34, 0, 80};
    const std::size_t transportBytes = (form.isTcp ? 20 + form.tcpOptions.size() : 8) + form.payloadBytes;
    const auto high = [](std::size_t value) { return static_cast<std::uint8_t>(value / 256); };
    const auto low = [](std::size_t value) { return static_cast<std::uint8_t>(value); };
    const auto append = [](FrameBytes& to, const FrameBytes& more) {
        to.insert(to.end(), more.begin(), more.end());
    };
    if (form.isTcp) { // the sequence number overflows within the frame
        append(transport, {0xFF, 0xFF, 0xFC, 0x01, 1, 2, 3, 4, low((20 + form.tcpOptions.size()) * 4),
                           form.tcpFlags, 9, 9, 0, 0, 0, 0});
        append(transport, form.tcpOptions);
    } else {
        append(transport, {high(transportBytes), low(transportBytes), 0, 0});
    }
    const FrameBytes v4Addresses = {10, 78, 0, 2, 10, 78, 0, 1};
    FrameBytes v6Addresses(32, 0);
    v6Addresses[0] = v6Addresses[16] = 0xFD;
    v6Addresses[15] = 2, v6Addresses[31] = 1;
    const std::uint8_t protocol = form.isTcp ? 6 : 17;
    const auto& addresses = form.isIpv6 ? v6Addresses : v4Addresses;
    const auto pseudo = foldedSum(addresses, protocol + transportBytes);
    const std::size_t field = form.isTcp ? 16 : 6;
    transport[field] = high(pseudo), transport[field + 1] = low(pseudo);

    const auto behind = form.ipOptions.size() + transportBytes;
    FrameBytes network;
    if (form.isIpv6) {
        network = {0x60, 0x20, 0, 0, high(behind), low(behind), protocol, 64};
        append(network, addresses);
        if (!form.ipOptions.empty()) {
            network[6] = 60; // destination options
            append(network, form.ipOptions);
            network[40] = protocol;
        }
    } else {
        network = {low(0x45 + form.ipOptions.size() / 4),
                   2,
                   high(20 + behind),
                   low(20 + behind),
                   0xFF,
                   0xFE,
                   0x40,
                   0,
                   64,
                   protocol,
                   0,
                   0};
        append(network, addresses);
        append(network, form.ipOptions);
        const auto sum = 0xFFFF - foldedSum(network, 0);
        network[10] = high(sum), network[11] = low(sum);
    }
    made.bytes = {2, 0, 0, 0, 0, 1, 2, 0, 0, 0, 0, 2};
    append(made.bytes, form.tags);
    append(made.bytes, form.isIpv6 ? FrameBytes{0x86, 0xDD} : FrameBytes{8, 0});
    append(made.bytes, network);
    made.header.checksumStart = static_cast<std::uint16_t>(made.bytes.size());
    made.header.headerBytes = static_cast<std::uint16_t>(made.bytes.size() + transport.size());
    append(made.bytes, transport);
    append(made.bytes, made.payload);
    made.header.flags = offload::OffloadHeader::needsChecksum;
    made.header.checksumOffset = static_cast<std::uint16_t>(field);
    made.header.segmentBytes = form.segmentBytes;
    using Header = offload::OffloadHeader;
    made.header.segmentation = !form.isTcp   ? Header::udp
                               : form.isIpv6 ? Header::tcpOverIpv6
                                             : Header::tcpOverIpv4;
    if (form.isTcp && (form.tcpFlags & 0x80) != 0) made.header.segmentation |= Header::withEcn;
    return made;
}

/// What one frame says; nothing where a length or checksum is wrong.
struct ReadFrame {
    std::size_t identification = 0; ///< of IPv4
    std::uint32_t sequence = 0;     ///< of TCP
    std::uint8_t flags = 0;         ///< likewise
    FrameView payload;
};

inline std::optional<ReadFrame> readFrame(FrameView frame) {
    std::size_t type = 12;
    while (read16(frame, type) == 0x8100 || read16(frame, type) == 0x88A8) type += 4;
    auto packet = frame.subspan(type + 2);
    ReadFrame read;
    std::size_t protocol = 0, headerBytes = 0, addressesAt = 0, addressesBytes = 0;
    if (read16(frame, type) == 0x0800) {
        headerBytes = packet[0] % 16 * std::size_t{4};
        if (foldedSum(packet.first(headerBytes), 0) != 0xFFFF || read16(packet, 2) != packet.size())
            return std::nullopt;
        read.identification = read16(packet, 4);
        protocol = packet[9], addressesAt = 12, addressesBytes = 8;
    } else {
        if (read16(packet, 4) != packet.size() - 40) return std::nullopt;
        protocol = packet[6], addressesAt = 8, addressesBytes = 32, headerBytes = 40;
        while (protocol == 0 || protocol == 43 || protocol == 60) {
            protocol = packet[headerBytes];
            headerBytes += 8 + packet[headerBytes + 1] * std::size_t{8};
        }
    }
    const auto transport = packet.subspan(headerBytes);
    const auto pseudo = foldedSum(packet.subspan(addressesAt, addressesBytes), protocol + transport.size());
    const bool isTcp = protocol == 6;
    const bool hasNoChecksum = !isTcp && read16(transport, 6) == 0;
    if (!hasNoChecksum && foldedSum(transport, pseudo) != 0xFFFF) return std::nullopt;
    if (!isTcp && read16(transport, 4) != transport.size()) return std::nullopt;
    if (isTcp) {
        read.sequence = static_cast<std::uint32_t>(read16(transport, 4) << 16 | read16(transport, 6));
        read.flags = transport[13];
    }
    read.payload = transport.subspan(isTcp ? transport[12] / 16 * std::size_t{4} : 8);
    return read;
}

/// Reads frames one after the other and joins their payload. False when one is wrong by itself, or does not
/// continue those before.
class StreamReader {
public:
    bool take(FrameView frame) {
        const auto read = readFrame(frame);
        if (!read) return false;
        constexpr std::uint8_t finOrPush = 0x09, reduced = 0x80;
        const bool continues =
            !before_ ||
            (read->identification == (before_->identification + (before_->isIpv4 ? 1 : 0)) % 0x10000 &&
             (read->flags & reduced) == 0 && (before_->flags & finOrPush) == 0 &&
             (!before_->isTcp || read->sequence == before_->next));
        const bool isIpv4 = isOf(frame, 0x0800);
        const bool isTcp = read->flags != 0;
        before_ = Before{read->identification, read->flags, isIpv4, isTcp,
                         static_cast<std::uint32_t>(read->sequence + read->payload.size())};
        payloadAt = static_cast<std::size_t>(read->payload.data() - frame.data());
        payload.insert(payload.end(), read->payload.begin(), read->payload.end());
        flags = read->flags;
        return continues;
    }

    FrameBytes payload;
    std::size_t payloadAt = 0; ///< in the last frame
    std::uint8_t flags = 0;    ///< of the last

private:
    static bool isOf(FrameView frame, std::size_t wanted) {
        std::size_t type = 12;
        while (read16(frame, type) == 0x8100 || read16(frame, type) == 0x88A8) type += 4;
        return read16(frame, type) == wanted;
    }

    struct Before {
        std::size_t identification;
        std::uint8_t flags;
        bool isIpv4, isTcp;
        std::uint32_t next;
    };
    std::optional<Before> before_;
};

} // namespace orvo::test
