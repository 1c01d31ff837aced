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
    UserApplication = 4,     // of a section
    InterfaceName = 2,       // of an interface
    InterfaceText = 3,       // of an interface
    TimestampResolution = 9, // of an interface
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

// Builds one block; the rare ones are not worth doing it faster.
class Block {
public:
    explicit Block(BlockType type) {
        put(static_cast<std::uint32_t>(type));
        put(std::uint32_t{0}); // the length, known in the end
    }

    template <class Integer> Block& put(Integer value) { return put(&value, sizeof value); }

    template <class Integer> Block& option(OptionCode code, Integer value) {
        return option(code, &value, sizeof value);
    }
    Block& option(OptionCode code, const std::string& text) { return option(code, text.data(), text.size()); }

    // The file counts time in two halves, the upper one first, whatever the byte order is.
    Block& time(OptionCode code, Timestamp value) {
        return option(code, std::array<std::uint32_t, 2>{static_cast<std::uint32_t>(value >> 32),
                                                         static_cast<std::uint32_t>(value)});
    }

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

Bytes interfaceDescription(const std::string& name, const std::string& description) {
    return Block(InterfaceDescription)
        .put(linkTypeEthernet)
        .put(std::uint16_t{0})
        .put(snapLength)
        .option(InterfaceName, name)
        .option(InterfaceText, description)
        .option(TimestampResolution, nanoseconds)
        .finished();
}

Bytes interfaceStatistics(const InterfaceStatistics& statistics) {
    Block block(InterfaceStatisticsType);
    block.put(statistics.interface)
        .put(static_cast<std::uint32_t>(statistics.end >> 32))
        .put(static_cast<std::uint32_t>(statistics.end))
        .time(StatisticsBegin, statistics.begin)
        .time(StatisticsEnd, statistics.end)
        .option(StatisticsReceived, statistics.receivedFrames);
    if (statistics.droppedFrames) block.option(StatisticsDropped, *statistics.droppedFrames);
    return block.finished();
}

std::size_t enhancedPacketBytes(std::size_t frameBytes) noexcept {
    return 32 + padded(frameBytes);
}

void putEnhancedPacket(std::uint8_t* out, std::uint32_t interface, Timestamp time, const void* frame,
                       std::size_t frameBytes) noexcept {
    const auto blockBytes = static_cast<std::uint32_t>(enhancedPacketBytes(frameBytes));
    const auto length = static_cast<std::uint32_t>(frameBytes);
    const std::array<std::uint32_t, 7> head = {EnhancedPacket,
                                               blockBytes,
                                               interface,
                                               static_cast<std::uint32_t>(time >> 32),
                                               static_cast<std::uint32_t>(time),
                                               length,
                                               length};
    std::memcpy(out, head.data(), sizeof head);
    std::memcpy(out + sizeof head, frame, frameBytes);
    std::memset(out + sizeof head + frameBytes, 0, padded(frameBytes) - frameBytes);
    std::memcpy(out + blockBytes - sizeof blockBytes, &blockBytes, sizeof blockBytes);
}

} // namespace orvo::host::pcapng
