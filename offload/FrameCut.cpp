// SPDX-License-Identifier: MIT
#include "FrameCut.h"

#include "FrameChecksums.h"
#include "Protocols.h"

#include <algorithm>

namespace orvo::offload {

namespace {

/// In UDP, 0 stands for no checksum.
std::uint16_t notZero(std::uint16_t checksum) noexcept {
    return checksum == 0 ? std::uint16_t{0xFFFF} : checksum;
}

/// The sum covers everything from its start on; the field holds that of the pseudo header. Leaves a frame
/// alone that is too short.
void finishChecksum(std::span<std::uint8_t> frame, std::size_t start, std::size_t offset) noexcept {
    if (start > frame.size() || offset + sizeof(std::uint16_t) > frame.size() - start) return;
    putStored(frame, start + offset, notZero(OnesSum().add(frame.subspan(start)).checksum()));
}

} // namespace

FrameCut::FrameCut(const OffloadHeader& header, std::span<std::uint8_t> frame) noexcept
    : frame_(frame), isJoined_(header.isJoined()) {
    if (isJoined_)
        begin(header);
    else if ((header.flags & OffloadHeader::needsChecksum) != 0)
        finishChecksum(frame, header.checksumStart, header.checksumOffset);
}

void FrameCut::begin(const OffloadHeader& header) noexcept {
    const auto headers = readHeaders(header, frame_, frame_.size());
    if (const auto* const reason = std::get_if<Uncuttable>(&headers)) {
        refusal_ = *reason;
        return;
    }
    at_ = std::get<FrameHeaders>(headers);
    if (at_.payload > headers_.size()) {
        refusal_ = Uncuttable::Unknown;
        return;
    }
    segmentBytes_ = header.segmentBytes;
    position_ = at_.payload;
    std::copy_n(frame_.begin(), at_.payload, headers_.begin());
    const bool isOpen = (header.flags & OffloadHeader::needsChecksum) != 0;
    hasChecksum_ = at_.isTcp || isOpen || numberAt(frame_, at_.transport + udpChecksum) != 0;
}

std::span<std::uint8_t> FrameCut::next() noexcept {
    if (refusal_) return {};
    if (!isJoined_) return count_++ == 0 ? frame_ : std::span<std::uint8_t>{};
    if (position_ == at_.end) return {};
    const auto bytes = std::min(segmentBytes_, at_.end - position_);
    const auto segment = frame_.subspan(position_ - at_.payload, at_.payload + bytes);
    std::copy_n(headers_.begin(), at_.payload, segment.begin());
    position_ += bytes;
    finishNetwork(segment);
    if (at_.isTcp)
        finishTcp(segment, position_ == at_.end);
    else
        finishUdp(segment);
    ++count_;
    return segment;
}

void FrameCut::finishNetwork(std::span<std::uint8_t> segment) const noexcept {
    const auto packet = segment.subspan(at_.network);
    putPacketBytes(packet, at_.isIpv6, packet.size());
    if (at_.isIpv6) return;
    putNumber(packet, ipv4Identification, numberAt(packet, ipv4Identification) + count_);
    putStored(packet, ipv4Checksum, networkChecksum(at_, segment));
}

void FrameCut::finishTcp(std::span<std::uint8_t> segment, bool isLast) const noexcept {
    const auto tcp = segment.subspan(at_.transport);
    putLongNumber(tcp, tcpSequence, longNumberAt(tcp, tcpSequence) + count_ * segmentBytes_);
    std::uint8_t cleared = 0;
    if (!isLast) cleared |= flagFin | flagPush;
    if (count_ != 0) cleared |= flagCwr;
    tcp[tcpFlags] &= static_cast<std::uint8_t>(~cleared);
    putStored(tcp, tcpChecksum, transportChecksum(at_, segment));
}

void FrameCut::finishUdp(std::span<std::uint8_t> segment) const noexcept {
    const auto udp = segment.subspan(at_.transport);
    putNumber(udp, udpLength, udp.size());
    if (hasChecksum_) putStored(udp, udpChecksum, notZero(transportChecksum(at_, segment)));
}

std::size_t framesInside(const OffloadHeader& header, std::span<const std::uint8_t> beginning,
                         std::size_t frameBytes) noexcept {
    const auto headers = readHeaders(header, beginning, frameBytes);
    const auto* const at = std::get_if<FrameHeaders>(&headers);
    if (!at) return 1;
    return (at->end - at->payload + header.segmentBytes - 1) / header.segmentBytes;
}

} // namespace orvo::offload
