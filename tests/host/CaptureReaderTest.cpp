// SPDX-License-Identifier: MIT
// Reading of captures: the frames as they are, and one clear sentence for everything that is no good capture.
#include "frames/CaptureReader.h"

#include "TestFiles.h"
#include "base/Failure.h"

#include <gmock/gmock.h>

#include <optional>

namespace orvo::host {
namespace {

using namespace testing_support;
using testing::HasSubstr;

std::vector<Frame> readAll(const std::string& path) {
    CaptureReader reader(path);
    std::vector<Frame> frames;
    for (CapturedFrame frame; reader.next(frame);) {
        EXPECT_EQ(frame.number, frames.size() + 1);
        frames.emplace_back(reinterpret_cast<const char*>(frame.bytes), frame.length);
    }
    return frames;
}

TEST(CaptureReaderTest, GivesTheFramesOfBothFormats) {
    const std::pair<const char*, std::size_t> cases[] = {{ORVO_TEST_DATA "/gige-vision.pcapng", 1400},
                                                         {ORVO_TEST_DATA "/mixed-lan.pcap", 347}};
    for (const auto& [file, count] : cases) {
        const auto frames = readAll(file);
        EXPECT_EQ(frames.size(), count) << file;
        EXPECT_TRUE(frames == framesOf(file)) << file;
    }
}

TEST(CaptureReaderTest, TellsHowLongCutFramesWereAndLeavesAFrameCheckSequenceOut) {
    const TemporaryFolder folder;
    const auto path = folder.file("in");
    writeCapture(path, {Frame(100, 'a'), Frame(64, 'b')}, 80);
    auto content = contentOf(path);
    content[23] = 0x24; // link type field, upper byte: frame check sequence present, 2 units of 16 bits
    writeFile(path, content);
    CaptureReader reader(path);
    std::vector<std::pair<std::size_t, std::size_t>> lengths;
    for (CapturedFrame frame; reader.next(frame);) lengths.emplace_back(frame.length, frame.originalLength);
    EXPECT_THAT(lengths, testing::ElementsAre(testing::Pair(80, 96), testing::Pair(60, 60)));
}

TEST(CaptureReaderTest, RefusesEachBadFileInOneSentence) {
    const TemporaryFolder folder;
    const auto good = contentOf(ORVO_TEST_DATA "/mixed-lan.pcap");
    const auto goodNg = contentOf(ORVO_TEST_DATA "/gige-vision.pcapng");
    std::filesystem::create_directory(folder.file("directory"));
    const struct {
        const char* name;
        std::optional<std::string> content;
        const char* complaint;
    } cases[] = {
        {"missing", std::nullopt, "No such file or directory; name"},
        {"directory", std::nullopt, "is a directory"},
        {"empty", "", "is empty"},
        {"text", "this is no capture file at all", "unknown file format"},
        {"short header", good.substr(0, 10), "truncated"},
        {"end in a frame", good.substr(0, good.size() - 7), "beyond frame 346: truncated"},
        {"end in a block", goodNg.substr(0, goodNg.size() - 7), "beyond frame 1399: "},
        {"nonsense length", good.substr(0, 24) + std::string(16, '\xFE'), "beyond frame 0"},
        {"IP packets", good.substr(0, 20) + '\x65' + good.substr(21), "link type RAW"},
    };
    for (const auto& row : cases) {
        const auto path = folder.file(row.name);
        if (row.content) writeFile(path, *row.content);
        EXPECT_THAT([&] { readAll(path); },
                    testing::ThrowsMessage<Failure>(testing::AllOf(HasSubstr(path), HasSubstr(row.complaint),
                                                                   testing::Not(HasSubstr("\n")))));
    }
}

} // namespace
} // namespace orvo::host
