// SPDX-License-Identifier: MIT
#include "FrameJoin.h"

#include "FrameChecksums.h"
#include "Protocols.h"

#include <algorithm>

namespace orvo::offload {

namespace {

using Bytes = std::span<const std::uint8_t>;

constexpr std::size_t mostHeaderBytes = 256;
constexpr std::size_t longestPacket = 65'535;
constexpr std::uint8_t lastFlags = flagFin | flagPush; // which only the last frame may have

std::uint8_t flagsOf(Bytes frame, const FrameHeaders& at) noexcept {
    return frame[at.transport + tcpFlags];
}

/// Whether nothing but the packet is in the frame, and it is undamaged.
bool isSound(Bytes frame, const FrameHeaders& at) noexcept {
    if (at.end != frame.size()) return false; // it is padded
    if (!at.isIpv6 && networkChecksum(at, frame) != storedAt(frame, at.network + ipv4Checksum)) return false;
    return transportChecksum(at, frame) == storedAt(frame, at.transport + tcpChecksum);
}

} // namespace

bool FrameJoin::add(Bytes frame) noexcept {
    if (frames_ == 0) return begin(frame);
    if (!isOpen_ || !continues(frame)) return false;
    append(frame, at_.payload);
    return true;
}

bool FrameJoin::begin(Bytes frame) noexcept {
    const auto headers = readHeaders(frame, frame.size());
    const auto* const found = std::get_if<FrameHeaders>(&headers);
    if (!found || !found->isTcp || found->payload > mostHeaderBytes || frame.size() > bytes_.size())
        return false;
    constexpr std::uint8_t joinable = flagAck | flagEce | flagCwr;
    if ((flagsOf(frame, *found) & ~joinable) != 0 || !isSound(frame, *found)) return false;
    at_ = *found;
    segmentBytes_ = at_.end - at_.payload;
    size_ = 0;
    append(frame, 0);
    return true;
}

/// Whether the frame is the one that FrameCut would make next.
bool FrameJoin::continues(Bytes frame) const noexcept {
    const auto before = size_ - at_.payload;
    if (frame.size() <= at_.payload || frame.size() - at_.payload > segmentBytes_) return false;
    const auto longest = std::min(bytes_.size(), at_.network + longestPacket); // less where tags abound
    if (size_ + frame.size() - at_.payload > longest) return false;
    std::array<std::uint8_t, mostHeaderBytes> expected;
    std::copy_n(bytes_.begin(), at_.payload, expected.begin());
    const auto packet = std::span(expected).subspan(at_.network);
    const auto tcp = std::span(expected).subspan(at_.transport);
    putPacketBytes(packet, at_.isIpv6, frame.size() - at_.network);
    if (!at_.isIpv6) {
        putNumber(packet, ipv4Identification, numberAt(packet, ipv4Identification) + frames_);
        putStored(packet, ipv4Checksum, storedAt(frame, at_.network + ipv4Checksum));
    }
    putLongNumber(tcp, tcpSequence, longNumberAt(tcp, tcpSequence) + before);
    tcp[tcpFlags] = static_cast<std::uint8_t>((tcp[tcpFlags] & ~flagCwr) | (flagsOf(frame, at_) & lastFlags));
    putStored(tcp, tcpChecksum, storedAt(frame, at_.transport + tcpChecksum));
    if (std::memcmp(expected.data(), frame.data(), at_.payload) != 0) return false;
    auto at = at_;
    at.end = frame.size();
    return isSound(frame, at);
}

void FrameJoin::append(Bytes frame, std::size_t from) noexcept {
    const auto added = frame.subspan(from);
    std::ranges::copy(added, std::span(bytes_).subspan(size_).begin());
    size_ += added.size();
    ++frames_;
    const auto last = static_cast<std::uint8_t>(flagsOf(frame, at_) & lastFlags);
    isOpen_ = last == 0 && frame.size() - at_.payload == segmentBytes_;
    if (frames_ > 1) bytes_[at_.transport + tcpFlags] |= last;
}

UnfinishedFrame FrameJoin::take() noexcept {
    const UnfinishedFrame joined{header(), std::span(bytes_).first(size_)};
    if (frames_ > 1) finish(joined.bytes);
    frames_ = 0;
    isOpen_ = true;
    return joined;
}

void FrameJoin::finish(std::span<std::uint8_t> joined) const noexcept {
    const auto packet = joined.subspan(at_.network);
    const auto tcp = joined.subspan(at_.transport);
    putPacketBytes(packet, at_.isIpv6, packet.size());
    if (!at_.isIpv6) putStored(packet, ipv4Checksum, networkChecksum(at_, joined));
    // While a checksum is open, its field holds the sum of the pseudo header.
    const auto open = static_cast<std::uint16_t>(~pseudoHeaderSum(at_, joined, tcp.size()).checksum());
    putStored(tcp, tcpChecksum, open);
}

OffloadHeader FrameJoin::header() const noexcept {
    if (frames_ < 2) return {};
    const int kind = at_.isIpv6 ? OffloadHeader::tcpOverIpv6 : OffloadHeader::tcpOverIpv4;
    const int ecn = (flagsOf(bytes_, at_) & flagCwr) != 0 ? OffloadHeader::withEcn : 0;
    return {.flags = OffloadHeader::needsChecksum,
            .segmentation = static_cast<std::uint8_t>(kind | ecn),
            .headerBytes = static_cast<std::uint16_t>(at_.payload),
            .segmentBytes = static_cast<std::uint16_t>(segmentBytes_),
            .checksumStart = static_cast<std::uint16_t>(at_.transport),
            .checksumOffset = static_cast<std::uint16_t>(tcpChecksum)};
}

} // namespace orvo::offload
