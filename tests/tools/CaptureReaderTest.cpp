// Reading of captures: the frames as they are, and one clear sentence for everything that is no good capture.
#include "capture/CaptureReader.h"

#include "TestFiles.h"
#include "app/Failure.h"

#include <gmock/gmock.h>

#include <functional>

namespace orvo::host {
namespace {

using namespace testing_support;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

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
    const struct {
        const char* file;
        std::size_t frames;
    } cases[] = {{ORVO_TEST_DATA "/gige-vision.pcapng", 1400}, {ORVO_TEST_DATA "/mixed-lan.pcap", 347}};
    for (const auto& row : cases) {
        SCOPED_TRACE(row.file);
        const auto frames = readAll(row.file);
        EXPECT_EQ(frames.size(), row.frames);
        EXPECT_TRUE(frames == framesOf(row.file));
    }
}

TEST(CaptureReaderTest, TellsHowLongCutFramesWereAndLeavesAFrameCheckSequenceOut) {
    const TemporaryFolder folder;
    writeCapture(folder.file("cut"), {Frame(100, 'a')}, DLT_EN10MB, 40);
    CapturedFrame frame;
    CaptureReader cut(folder.file("cut"));
    ASSERT_TRUE(cut.next(frame));
    EXPECT_EQ(frame.length, 40u);
    EXPECT_EQ(frame.originalLength, 100u);

    writeCapture(folder.file("fcs"), {Frame(64, 'a')});
    auto content = contentOf(folder.file("fcs"));
    content[23] = 0x24; // link type field, upper byte: frame check sequence present, 2 units of 16 bits
    writeFile(folder.file("fcs"), content);
    CaptureReader withFcs(folder.file("fcs"));
    ASSERT_TRUE(withFcs.next(frame));
    EXPECT_EQ(frame.length, 60u);
    EXPECT_EQ(frame.originalLength, 60u);
    EXPECT_FALSE(withFcs.next(frame));
}

TEST(CaptureReaderTest, RefusesEachBadFileInOneSentence) {
    const TemporaryFolder folder;
    const auto path = folder.file("bad");
    const auto good = contentOf(ORVO_TEST_DATA "/mixed-lan.pcap");
    const auto goodNg = contentOf(ORVO_TEST_DATA "/gige-vision.pcapng");
    const struct {
        const char* what;
        std::function<void()> make;
        const char* complaint;
    } cases[] = {
        {"missing", [] {}, "No such file or directory; name"},
        {"empty", [&] { writeFile(path, ""); }, "is empty"},
        {"text", [&] { writeFile(path, "this is no capture file at all"); }, "unknown file format"},
        {"short header", [&] { writeFile(path, good.substr(0, 10)); }, "truncated"},
        {"end in a frame", [&] { writeFile(path, good.substr(0, good.size() - 7)); },
         "beyond frame 346: truncated"},
        {"end in a block", [&] { writeFile(path, goodNg.substr(0, goodNg.size() - 7)); },
         "beyond frame 1399: "},
        {"nonsense length", [&] { writeFile(path, good.substr(0, 24) + std::string(16, '\xFE')); },
         "beyond frame 0"},
        {"other link type", [&] { writeCapture(path, {Frame(60, 'a')}, DLT_RAW); }, "link type RAW"},
        {"directory",
         [&] {
             std::filesystem::remove(path);
             std::filesystem::create_directory(path);
         },
         "is a directory"},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.what);
        row.make();
        try {
            readAll(path);
            ADD_FAILURE() << "accepted";
        } catch (const Failure& failure) {
            EXPECT_THAT(failure.what(),
                        AllOf(HasSubstr(path), HasSubstr(row.complaint), Not(HasSubstr("\n"))));
        }
    }
}

} // namespace
} // namespace orvo::host
