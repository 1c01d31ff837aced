// The file that the writer makes: read back by libpcap, and walked through block by block.
#include "capture/PcapngWriter.h"

#include "TestFiles.h"
#include "app/Failure.h"

#include <gmock/gmock.h>

#include <chrono>
#include <cstring>
#include <map>

namespace orvo::host {
namespace {

using namespace testing_support;
using testing::ElementsAre;

template <class Integer> Integer integerAt(const std::string& bytes, std::size_t offset) {
    Integer value = 0;
    std::memcpy(&value, bytes.data() + offset, sizeof value);
    return value;
}

struct Block {
    std::uint32_t type;
    std::string body;
};

// Checks what every block has to obey: the length twice, in units of 32 bits, and nothing behind the last
// one.
std::vector<Block> blocksOf(const std::string& file) {
    std::vector<Block> blocks;
    for (std::size_t offset = 0; offset < file.size();) {
        const auto length = integerAt<std::uint32_t>(file, offset + 4);
        if (length < 12 || length % 4 != 0 || offset + length > file.size() ||
            integerAt<std::uint32_t>(file, offset + length - 4) != length) {
            ADD_FAILURE() << "bad block at " << offset;
            break;
        }
        blocks.push_back({integerAt<std::uint32_t>(file, offset), file.substr(offset + 8, length - 12)});
        offset += length;
    }
    return blocks;
}

std::map<unsigned, std::string> optionsOf(const std::string& body, std::size_t offset) {
    std::map<unsigned, std::string> options;
    for (;;) {
        const auto code = integerAt<std::uint16_t>(body, offset);
        const auto length = integerAt<std::uint16_t>(body, offset + 2);
        if (code == 0) return options;
        options[code] = body.substr(offset + 4, length);
        offset += 4 + (length + 3u) / 4 * 4;
    }
}

std::uint64_t timeAt(const std::string& bytes, std::size_t offset) {
    return std::uint64_t{integerAt<std::uint32_t>(bytes, offset)} << 32 |
           integerAt<std::uint32_t>(bytes, offset + 4);
}

std::uint64_t now() {
    return static_cast<std::uint64_t>(std::chrono::system_clock::now().time_since_epoch() /
                                      std::chrono::nanoseconds(1));
}

constexpr unsigned sectionHeader = 0x0A0D0D0A, interfaceDescription = 1, statistics = 5, packet = 6;

class PcapngWriterTest : public testing::Test {
protected:
    TemporaryFolder folder;
    const std::string path = folder.file("out.pcapng");
};

TEST_F(PcapngWriterTest, WritesWhatReadersExpect) {
    const auto before = now();
    {
        PcapngWriter writer(path, "name", "text");
        writer.begin();
        for (unsigned bytes = 60; bytes < 64; ++bytes)
            writer.write(numberedFrame(bytes, bytes).data(), bytes);
        EXPECT_EQ(writer.close(5), 4u);
    }
    const auto after = now();
    EXPECT_THAT(framesOf(path), ElementsAre(numberedFrame(60, 60), numberedFrame(61, 61),
                                            numberedFrame(62, 62), numberedFrame(63, 63)));
    const auto blocks = blocksOf(contentOf(path));
    std::vector<unsigned> types;
    for (const auto& block : blocks) types.push_back(block.type);
    ASSERT_THAT(types,
                ElementsAre(sectionHeader, interfaceDescription, packet, packet, packet, packet, statistics));

    const auto interface = optionsOf(blocks[1].body, 8);
    EXPECT_EQ(integerAt<std::uint16_t>(blocks[1].body, 0), 1) << "Ethernet";
    EXPECT_EQ(interface.at(2), "name");
    EXPECT_EQ(interface.at(9), "\x09") << "nanoseconds";
    EXPECT_GE(timeAt(blocks[2].body, 4), before);
    EXPECT_LE(timeAt(blocks[5].body, 4), after);

    const auto counted = optionsOf(blocks[6].body, 12);
    EXPECT_EQ(integerAt<std::uint64_t>(counted.at(4), 0), 4u);
    EXPECT_EQ(integerAt<std::uint64_t>(counted.at(5), 0), 5u);
    EXPECT_GE(timeAt(counted.at(2), 0), before);
    EXPECT_LE(timeAt(counted.at(3), 0), after);
}

TEST_F(PcapngWriterTest, ClosesTheFileOnEveryWayOut) {
    {
        PcapngWriter writer(path, "name", "text");
        writer.begin();
        writer.write(Frame(60, 'a').data(), 60);
    }
    const auto blocks = blocksOf(contentOf(path));
    ASSERT_EQ(blocks.size(), 4u);
    EXPECT_EQ(blocks[3].type, statistics);
    EXPECT_EQ(optionsOf(blocks[3].body, 12).count(5), 0u) << "nobody knows what was dropped";
}

TEST_F(PcapngWriterTest, ReplacesAFileOnlyWhenItBegins) {
    { PcapngWriter writer(path, "name", "text"); }
    EXPECT_FALSE(std::filesystem::exists(path));
    writeFile(path, std::string(100'000, 'x'));
    { PcapngWriter writer(path, "name", "text"); }
    EXPECT_EQ(contentOf(path), std::string(100'000, 'x'));
    PcapngWriter writer(path, "name", "text");
    writer.begin();
    writer.close(std::nullopt);
    EXPECT_EQ(blocksOf(contentOf(path)).size(), 3u);
}

TEST_F(PcapngWriterTest, FindsAFullDeviceBeforeItBegins) {
    EXPECT_THROW(PcapngWriter("/dev/full", "name", "text"), Failure);
}

} // namespace
} // namespace orvo::host
