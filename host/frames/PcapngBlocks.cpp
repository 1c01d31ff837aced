// SPDX-License-Identifier: MIT
// Encoding of pcapng blocks: type, total length, fixed fields, options, total length again; all padded to 32
// bits.
#include "frames/PcapngBlocks.h"

#include <array>
#include <cstring>

namespace orvo::host::pcapng {
namespace {

enum BlockType : std::uint32_t {
    InterfaceDescription = 1,
    InterfaceStatisticsType = 5,
    EnhancedPacket = 6,
    SectionHeader = 0x0A0D0D0A
};

enum OptionCode : std::uint16_t {
    EndOfOptions = 0,
    Comment = 1,
    PacketFlags = 2,         // of a packet
    UserApplication = 4,     // of a section
    InterfaceName = 2,       // of an interface
    InterfaceText = 3,       // of an interface
    TimestampResolution = 9, // of an interface
    CheckSequenceBytes = 13, // of an interface
    StatisticsBegin = 2,     // of statistics
    StatisticsEnd = 3,       // of statistics
    StatisticsReceived = 4,  // of statistics
    StatisticsDropped = 5    // of statistics
};

constexpr std::uint32_t byteOrderMagic = 0x1A2B3C4D;
constexpr std::uint16_t linkTypeEthernet = 1;
constexpr std::uint8_t nanoseconds = 9; // ten to the minus ninth

constexpr std::size_t padded(std::size_t bytes) noexcept {
    return (bytes + 3) & ~std::size_t{3};
}

// A time in the file: two halves, the upper one first, whatever the byte order is.
std::array<std::uint32_t, 2> halves(Timestamp time) noexcept {
    return {static_cast<std::uint32_t>(time >> 32), static_cast<std::uint32_t>(time)};
}

// Builds one of the rare blocks; frames have a faster path.
class Block {
public:
    explicit Block(BlockType type) {
        put(static_cast<std::uint32_t>(type));
        put(std::uint32_t{0}); // the length, known when the block is finished
    }

    template <class Integer> Block& put(Integer value) { return put(&value, sizeof value); }

    template <class Integer> Block& option(OptionCode code, Integer value) {
        return option(code, &value, sizeof value);
    }
    Block& option(OptionCode code, const std::string& text) { return option(code, text.data(), text.size()); }

    Bytes finished() {
        option(EndOfOptions, nullptr, 0);
        const auto length = static_cast<std::uint32_t>(bytes_.size() + sizeof(std::uint32_t));
        put(length);
        std::memcpy(bytes_.data() + sizeof(std::uint32_t), &length, sizeof length);
        return std::move(bytes_);
    }

private:
    Block& put(const void* data, std::size_t size) {
        const auto* from = static_cast<const std::uint8_t*>(data);
        bytes_.insert(bytes_.end(), from, from + size);
        return *this;
    }

    Block& option(OptionCode code, const void* data, std::size_t size) {
        put(static_cast<std::uint16_t>(code));
        put(static_cast<std::uint16_t>(size));
        put(data, size);
        bytes_.resize(padded(bytes_.size()));
        return *this;
    }

    Bytes bytes_;
};

} // namespace

Bytes sectionHeader(const std::string& application) {
    return Block(SectionHeader)
        .put(byteOrderMagic)
        .put(std::uint16_t{1}) // version 1.0
        .put(std::uint16_t{0})
        .put(~std::uint64_t{0}) // length unknown: the section is as long as the file
        .option(UserApplication, application)
        .finished();
}

Bytes interfaceDescription(const Interface& interface) {
    Block block(InterfaceDescription);
    block.put(linkTypeEthernet)
        .put(std::uint16_t{0})
        .put(snapLength)
        .option(InterfaceName, interface.name)
        .option(InterfaceText, interface.description)
        .option(TimestampResolution, nanoseconds);
    if (interface.fcsBytes != 0) block.option(CheckSequenceBytes, interface.fcsBytes);
    return block.finished();
}

Bytes interfaceStatistics(const InterfaceStatistics& statistics) {
    const auto [upper, lower] = halves(statistics.end);
    Block block(InterfaceStatisticsType);
    block.put(statistics.interface)
        .put(upper)
        .put(lower)
        .option(StatisticsBegin, halves(statistics.begin))
        .option(StatisticsEnd, halves(statistics.end))
        .option(StatisticsReceived, statistics.receivedFrames);
    if (statistics.droppedFrames) block.option(StatisticsDropped, *statistics.droppedFrames);
    return block.finished();
}

namespace {

constexpr std::size_t optionHeadBytes = 4;
constexpr std::size_t longestComment = 0xFFFF;

/// Direction, length of the check sequence, errors; 0 where nothing is known.
std::uint32_t flagsOf(const OutputFrame& frame) noexcept {
    return static_cast<std::uint32_t>(frame.direction) | frame.fcsBytes << 5 | frame.errors;
}

std::string_view commentOf(const OutputFrame& frame) noexcept {
    return frame.comment.substr(0, longestComment);
}

std::size_t optionBytes(const OutputFrame& frame) noexcept {
    const std::size_t flags = flagsOf(frame) != 0 ? optionHeadBytes + sizeof(std::uint32_t) : 0;
    const std::size_t comment = frame.comment.empty() ? 0 : optionHeadBytes + padded(commentOf(frame).size());
    return flags + comment == 0 ? 0 : flags + comment + optionHeadBytes; // the end of options
}

/// Returns the place behind the option.
std::uint8_t* putOption(std::uint8_t* out, OptionCode code, const void* data, std::size_t bytes) noexcept {
    const std::array<std::uint16_t, 2> head = {code, static_cast<std::uint16_t>(bytes)};
    std::memcpy(out, head.data(), sizeof head);
    std::memset(out + sizeof head, 0, padded(bytes));
    if (bytes != 0) std::memcpy(out + sizeof head, data, bytes);
    return out + sizeof head + padded(bytes);
}

void putOptions(std::uint8_t* out, const OutputFrame& frame) noexcept {
    const auto flags = flagsOf(frame);
    const auto comment = commentOf(frame);
    if (!comment.empty()) out = putOption(out, Comment, comment.data(), comment.size());
    if (flags != 0) out = putOption(out, PacketFlags, &flags, sizeof flags);
    putOption(out, EndOfOptions, nullptr, 0);
}

} // namespace

std::size_t enhancedPacketBytes(const OutputFrame& frame) noexcept {
    return 32 + padded(frame.bytes.size()) + optionBytes(frame);
}

void putEnhancedPacket(std::uint8_t* out, const OutputFrame& frame, Timestamp time) noexcept {
    const auto blockBytes = static_cast<std::uint32_t>(enhancedPacketBytes(frame));
    const auto length = static_cast<std::uint32_t>(frame.bytes.size());
    const auto [upper, lower] = halves(time);
    const std::array<std::uint32_t, 7> head = {EnhancedPacket,
                                               blockBytes,
                                               frame.interface,
                                               upper,
                                               lower,
                                               length,
                                               frame.wireBytes != 0 ? frame.wireBytes : length};
    std::memcpy(out, head.data(), sizeof head);
    if (length != 0) std::memcpy(out + sizeof head, frame.bytes.data(), length);
    std::memset(out + sizeof head + length, 0, padded(length) - length);
    if (optionBytes(frame) != 0) putOptions(out + sizeof head + padded(length), frame);
    std::memcpy(out + blockBytes - sizeof blockBytes, &blockBytes, sizeof blockBytes);
}

} // namespace orvo::host::pcapng
