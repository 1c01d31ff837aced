// SPDX-License-Identifier: MIT
// The file that the writer makes, read back by libpcap, which checks the form of every block.
#include "frames/PcapngWriter.h"

#include "TestFiles.h"

#include <gmock/gmock.h>

#include <chrono>

namespace orvo::host {
namespace {

using namespace testing_support;
using std::chrono::nanoseconds;
using testing::HasSubstr;

std::string option(char code, const std::string& value) {
    return std::string{code, 0, static_cast<char>(value.size()), 0} + value;
}

std::string number(char value) {
    return value + std::string(7, '\0'); // of 64 bits
}

nanoseconds now() {
    return std::chrono::system_clock::now().time_since_epoch();
}

TEST(PcapngWriterTest, WritesWhatReadersExpect) {
    const TemporaryFolder folder;
    const auto path = folder.file("out.pcapng");
    const std::vector<Frame> frames = {Frame(60, 'a'), Frame(61, 'b'), Frame(62, 'c'), Frame(63, 'd')};
    const auto earliest = now();
    PcapngWriter writer(path, "name", "text");
    writer.begin();
    for (const auto& frame : frames) writer.write(frame.data(), frame.size());
    EXPECT_EQ(writer.close(5), 4u);
    const auto latest = now();
    EXPECT_EQ(framesOf(path), frames);
    for (const auto& expected : {option(2, "name"), option(3, "text"), option(9, "\x9")}) // 9: nanoseconds
        EXPECT_THAT(contentOf(path), HasSubstr(expected));
    EXPECT_EQ(lastBlock(path).front(), 5);
    EXPECT_THAT(lastBlock(path), HasSubstr(option(4, number(4)) + option(5, number(5))))
        << "received, dropped";

    auto* const capture =
        pcap_open_offline_with_tstamp_precision(path.c_str(), PCAP_TSTAMP_PRECISION_NANO, nullptr);
    pcap_pkthdr header = {};
    ASSERT_TRUE(pcap_next(capture, &header));
    const auto time = std::chrono::seconds(header.ts.tv_sec) + nanoseconds(header.ts.tv_usec);
    EXPECT_TRUE(earliest <= time && time <= latest);
    pcap_close(capture);
}

TEST(PcapngWriterTest, ReplacesAFileOnlyWhenItBeginsAndClosesItOnEveryWayOut) {
    const TemporaryFolder folder;
    const auto path = folder.file("out.pcapng");
    { PcapngWriter unused(path, "name", "text"); }
    EXPECT_FALSE(std::filesystem::exists(path));
    const std::string precious(100'000, 'x');
    writeFile(path, precious);
    {
        PcapngWriter writer(path, "name", "text");
        EXPECT_EQ(contentOf(path), precious);
        writer.begin();
        writer.write(Frame(60, 'a').data(), 60);
    }
    EXPECT_EQ(framesOf(path).size(), 1u);
    EXPECT_EQ(lastBlock(path).front(), 5);
    EXPECT_THAT(lastBlock(path), HasSubstr(option(4, number(1))));
    EXPECT_THAT(lastBlock(path), testing::Not(HasSubstr(option(5, number(0))))) << "nobody knows";
}

} // namespace
} // namespace orvo::host
