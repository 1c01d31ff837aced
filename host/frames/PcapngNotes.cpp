// SPDX-License-Identifier: MIT
#include "frames/PcapngNotes.h"

#include <algorithm>

namespace orvo::host {
namespace {

enum BlockType : std::uint32_t {
    Interface = 1,
    ObsoletePacket = 2,
    SimplePacket = 3,
    Statistics = 5,
    EnhancedPacket = 6,
    Section = 0x0A0D0D0A // the same in both byte orders
};
enum OptionCode : std::uint16_t {
    EndOfOptions = 0,
    Comment = 1,
    PacketFlags = 2,
    InterfaceFcsBytes = 13,
    StatisticsMissed = 5
};

constexpr std::size_t headBytes = 8; // type and length
constexpr std::size_t tailBytes = 4; // the length again
constexpr std::uint32_t byteOrderMagic = 0x1A2B3C4D;
constexpr std::size_t longestBlock = 1 << 24; // as libpcap has it
constexpr std::uint32_t allErrors = CheckSequenceError | TooLongError | TooShortError;

constexpr std::size_t padded(std::size_t bytes) noexcept {
    return (bytes + 3) & ~std::size_t{3};
}

Bytes from(Bytes bytes, std::size_t offset) noexcept {
    return bytes.subspan(std::min(offset, bytes.size()));
}

std::optional<DeathPlace> deathIn(std::string_view comment) noexcept {
    if (comment.starts_with(notSentComment)) return DeathPlace::NotSent;
    if (comment == queueFullComment) return DeathPlace::ReceiveQueue;
    if (comment == linkDownComment) return DeathPlace::NoLink;
    if (comment == receiverOffComment) return DeathPlace::ReceiverOff;
    if (comment.starts_with(droppedComment)) return DeathPlace::DamagedFrame;
    return std::nullopt;
}

} // namespace

void PcapngNotes::feed(Bytes bytes) {
    if (hasEnded_) return;
    held_.insert(held_.end(), bytes.begin(), bytes.end());
    std::size_t at = 0;
    while (const auto length = blockBytes(from(held_, at))) {
        readBlock(Bytes(held_).subspan(at, length));
        at += length;
    }
    held_.erase(held_.begin(), held_.begin() + static_cast<std::ptrdiff_t>(at));
    if (hasEnded_) held_ = {};
}

std::optional<PcapngNotes::Note> PcapngNotes::next() {
    if (notes_.empty()) return std::nullopt;
    const auto note = notes_.front();
    notes_.pop_front();
    return note;
}

/// Of the block that begins here; 0 while it is not complete, or when no block begins here.
std::size_t PcapngNotes::blockBytes(Bytes rest) {
    if (hasEnded_ || rest.size() < headBytes + tailBytes) return 0;
    if (big32(rest, 0) == Section)
        isBigEndian_ = big32(rest, headBytes) == byteOrderMagic;
    else if (!hasBegun_)
        hasEnded_ = true;
    const std::size_t length = number32(rest, 4);
    hasEnded_ = hasEnded_ || length < headBytes + tailBytes || length % 4 != 0 || length > longestBlock;
    hasBegun_ = true;
    return hasEnded_ || rest.size() < length ? 0 : length;
}

void PcapngNotes::readBlock(Bytes block) {
    const auto body = block.subspan(headBytes, block.size() - headBytes - tailBytes);
    switch (number32(block, 0)) {
    case Section:
        fcsBytes_.clear();
        break;
    case Interface:
        readInterface(body);
        break;
    case SimplePacket:
        notes_.push_back({.fcsBytes = fcsBytes_.empty() ? std::size_t{0} : fcsBytes_.front(), .diedAt = {}});
        break;
    case ObsoletePacket:
        if (body.size() >= 2) readPacket(body, number16(body, 0));
        break;
    case EnhancedPacket:
        if (body.size() >= 4) readPacket(body, number32(body, 0));
        break;
    case Statistics:
        readStatistics(body);
        break;
    default:
        break;
    }
}

void PcapngNotes::readInterface(Bytes body) {
    std::uint8_t fcsBytes = 0;
    eachOption(from(body, 8), [&](unsigned code, Bytes value) {
        if (code == InterfaceFcsBytes && value.size() == 1) fcsBytes = value[0];
    });
    fcsBytes_.push_back(fcsBytes);
}

void PcapngNotes::readPacket(Bytes body, std::size_t interface) {
    constexpr std::size_t lengthAt = 12, frameAt = 20;
    constexpr std::uint32_t fcsShift = 5, fcsMask = 15;
    Note note{.fcsBytes = interface < fcsBytes_.size() ? fcsBytes_[interface] : std::size_t{0}, .diedAt = {}};
    std::uint32_t flags = 0;
    std::optional<DeathPlace> death;
    const auto frameBytes = body.size() < frameAt ? 0 : padded(number32(body, lengthAt));
    eachOption(from(body, frameAt + frameBytes), [&](unsigned code, Bytes value) {
        if (code == PacketFlags && value.size() == 4) flags = number32(value, 0);
        if (code == Comment) death = deathIn({reinterpret_cast<const char*>(value.data()), value.size()});
    });
    if (const auto fcsBytes = flags >> fcsShift & fcsMask; fcsBytes != 0) note.fcsBytes = fcsBytes;
    tellsDeaths_ = tellsDeaths_ || death;
    note.diedAt = death || (flags & allErrors) == 0 ? death : DeathPlace::DamagedFrame;
    notes_.push_back(note);
}

void PcapngNotes::readStatistics(Bytes body) {
    eachOption(from(body, 12), [&](unsigned code, Bytes value) {
        if (code != StatisticsMissed || value.size() != 8) return;
        const std::uint64_t first = number32(value, 0), second = number32(value, 4);
        missed_ += isBigEndian_ ? first << 32 | second : second << 32 | first;
    });
}

template <class Take> void PcapngNotes::eachOption(Bytes options, const Take& take) const {
    constexpr std::size_t optionHead = 4;
    while (options.size() >= optionHead && number16(options, 0) != EndOfOptions) {
        const std::size_t length = number16(options, 2);
        if (length > options.size() - optionHead) return;
        take(number16(options, 0), options.subspan(optionHead, length));
        options = from(options, optionHead + padded(length));
    }
}

std::uint16_t PcapngNotes::number16(Bytes bytes, std::size_t at) const noexcept {
    const auto number = big16(bytes, at);
    return isBigEndian_ ? number : __builtin_bswap16(number);
}

std::uint32_t PcapngNotes::number32(Bytes bytes, std::size_t at) const noexcept {
    const auto number = big32(bytes, at);
    return isBigEndian_ ? number : __builtin_bswap32(number);
}

} // namespace orvo::host
