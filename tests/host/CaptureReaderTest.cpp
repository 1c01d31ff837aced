// SPDX-License-Identifier: MIT
// Reading of captures: the frames as they are, and one clear sentence for everything that is no good capture.
#include "frames/CaptureReader.h"

#include "CameraFrames.h"
#include "base/Failure.h"

#include <zlib.h>

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
    if (!reader.fault().empty()) throw Failure(reader.fault());
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

/// A gzip file of one member.
std::string compressed(const std::string& content) {
    z_stream stream = {};
    deflateInit2(&stream, Z_BEST_SPEED, Z_DEFLATED, 15 + 16, 9, Z_DEFAULT_STRATEGY);
    std::string packed(deflateBound(&stream, content.size()), '\0');
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(content.data()));
    stream.avail_in = static_cast<uInt>(content.size());
    stream.next_out = reinterpret_cast<Bytef*>(packed.data());
    stream.avail_out = static_cast<uInt>(packed.size());
    EXPECT_EQ(deflate(&stream, Z_FINISH), Z_STREAM_END);
    packed.resize(stream.total_out);
    deflateEnd(&stream);
    return packed;
}

TEST(CaptureReaderTest, ReadsGzipByContentInOneMemberOrSeveral) {
    const TemporaryFolder folder;
    for (const char* file : {ORVO_TEST_DATA "/gige-vision.pcapng", ORVO_TEST_DATA "/mixed-lan.pcap"}) {
        const auto content = contentOf(file), begin = content.substr(0, 1001), rest = content.substr(1001);
        for (const auto& packed : {compressed(content), compressed(begin) + compressed(rest),
                                   compressed(content) + compressed("")}) {
            writeFile(folder.file("in.pcap"), packed);
            EXPECT_TRUE(readAll(folder.file("in.pcap")) == framesOf(file)) << file;
        }
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

/// A block of a pcapng file with the other byte order than this machine's.
void putBlock(ByteVector& file, std::uint32_t type, const ByteVector& body) {
    const auto length = body.size() + 12;
    put(file, type, 4);
    put(file, length, 4);
    file.insert(file.end(), body.begin(), body.end());
    put(file, length, 4);
}

TEST(CaptureReaderTest, KnowsWhatPcapngFilesSayOfTheirFrames) {
    const std::tuple<std::string, std::uint32_t, std::optional<DeathPlace>> cases[] = {
        {"", 0, std::nullopt},
        {"", 1U << 24, DeathPlace::DamagedFrame},
        {"not dropped at all", 0, std::nullopt},
        {"dropped: longer than 1518 bytes", 1U << 25, DeathPlace::DamagedFrame},
        {"dropped: link down", 0, DeathPlace::NoLink},
        {"not sent: link down", 0, DeathPlace::NotSent}};
    ByteVector file, body;
    put(body, 0x1A2B'3C4D'0001'0000, 8);
    put(body, ~std::uint64_t{0}, 8);
    putBlock(file, 0x0A0D'0D0A, body);
    body.clear();
    put(body, 0x0001'0000'0001'0000, 8); // Ethernet
    put(body, 0x000D'0001'0400'0000, 8); // 4 bytes of check sequence
    putBlock(file, 1, body);
    for (const auto& [comment, errors, death] : cases) {
        body.clear();
        body.insert(body.end(), 12, 0); // interface and time
        put(body, 64, 4);
        put(body, 64, 4);
        body.insert(body.end(), 64, 7);
        put(body, 1U << 16 | comment.size(), 4);
        body.insert(body.end(), comment.begin(), comment.end());
        body.resize((body.size() + 3) / 4 * 4);
        put(body, 0x0002'0004, 4);
        put(body, errors | 1, 4);
        put(body, 0, 4);
        putBlock(file, 6, body);
    }
    const TemporaryFolder folder;
    const auto path = folder.file("big-endian.pcapng");
    writeFile(path, {file.begin(), file.end()});
    CaptureReader reader(path);
    CapturedFrame frame;
    for (const auto& [comment, errors, death] : cases) {
        SCOPED_TRACE(comment);
        ASSERT_TRUE(reader.next(frame));
        EXPECT_EQ(frame.length, 60u);
        EXPECT_EQ(frame.diedAt, death);
    }
    EXPECT_TRUE(reader.notes().tellsDeaths());
}

TEST(CaptureReaderTest, RefusesEachBadFileInOneSentence) {
    const TemporaryFolder folder;
    const auto good = contentOf(ORVO_TEST_DATA "/mixed-lan.pcap");
    const auto packed = compressed(good), packedText = compressed("this is no capture file at all");
    auto wrongSum = packed, wrongByte = packed;
    wrongSum[packed.size() - 8] ^= 1;
    wrongByte[10] = '\xFF'; // behind the header
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
        {"gzip without end", packed.substr(0, packed.size() - 1),
         "compressed data is damaged (it ends early)"},
        {"gzip cut in the middle", packed.substr(0, packed.size() / 2),
         "compressed data is damaged (it ends"},
        {"gzip header alone", packed.substr(0, 2), "': its compressed data is damaged (it ends early)"},
        {"gzip with a wrong sum", wrongSum,
         "beyond frame 347: its compressed data is damaged (incorrect data"},
        {"gzip with a wrong byte", wrongByte, "': its compressed data is damaged (invalid block type)"},
        {"gzip and more", packed + "more", "compressed data is damaged (incorrect header check)"},
        {"gzip of a text", packedText, "unknown file format"},
        {"gzip of nothing", compressed(""), "truncated"},
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
