// SPDX-License-Identifier: MIT
// `orvo-gige capture --at wire`, beside other programs at a server's boards.
#include "CameraFrames.h"
#include "PipeReader.h"
#include "Process.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>
#include <zlib.h>

#include <algorithm>
#include <cstring>
#include <deque>
#include <map>
#include <optional>

namespace orvo::host {
namespace {

using namespace testing_support;
using nlohmann::json;
using testing::HasSubstr;
using Words = std::vector<std::string>;

std::uint32_t number(const std::string& bytes, std::size_t at) {
    std::uint32_t value = 0;
    std::memcpy(&value, bytes.substr(at, sizeof value).data(), sizeof value);
    return value;
}

struct WireFile {
    /// Frames by their interface, their flags but for the direction, and their comment.
    std::map<std::tuple<std::uint32_t, std::uint32_t, std::string>, unsigned> frames;
    std::vector<std::string> otherBlocks;
    unsigned rightSequences = 0;
};

WireFile readWireFile(const std::string& path) {
    WireFile file;
    const auto content = contentOf(path);
    for (std::size_t at = 0; at + 12 <= content.size(); at += number(content, at + 4)) {
        const auto block = content.substr(at, number(content, at + 4));
        if (number(block, 0) != 6) {
            file.otherBlocks.push_back(block);
            continue;
        }
        const auto bytes = number(block, 20);
        const auto* const frame = reinterpret_cast<const Bytef*>(block.data() + 28);
        file.rightSequences += crc32_z(0, frame, bytes - 4) == number(block, 28 + bytes - 4);
        std::uint32_t flags = 0;
        std::string comment;
        for (auto option = 28 + (bytes + 3) / 4 * 4; number(block, option) != 0;) {
            const auto length = number(block, option) >> 16;
            const bool isComment = (number(block, option) & 0xFFFF) == 1;
            if (isComment) comment = block.substr(option + 4, length);
            if (!isComment) flags = number(block, option + 4);
            option += 4 + (length + 3) / 4 * 4;
        }
        const auto interface = number(block, 8);
        EXPECT_EQ(flags & 3, interface + 1) << "direction";
        ++file.frames[{interface, flags & ~3U, comment}];
    }
    return file;
}

class CaptureWireTest : public testing::Test {
protected:
    CaptureWireTest() { EXPECT_TRUE(server.says("ready")); }
    /// Capturing port 0/1 into `output` when it returns.
    void start() {
        capture.emplace(Words{ORVO_GIGE, "capture", "--at", "wire", "-p", "1", "-w", output, "--json"},
                        environment);
        ASSERT_TRUE(capture->says("at the wire"));
    }
    void replay(Words options, const std::string& file = ORVO_TEST_DATA "/mixed-lan.pcap") const {
        options.insert(options.begin(), {"replay", file, "--no-reset"});
        EXPECT_EQ(runTool(options, environment).exitCode, 0);
    }
    json end() {
        capture->signal(SIGINT);
        const auto outcome = capture->wait();
        EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
        return json::parse(outcome.out);
    }

    const TemporaryFolder folder;
    const std::string output = folder.file("out.pcapng"), socket = folder.file("sock");
    const Words environment = {"ORVO_BOARD=" + socket};
    Process server{{ORVO_GIGE, "simulate", "--name", socket, "--wire", "0=port:0/1"}};
    std::optional<Process> capture;
};

constexpr unsigned fileFrames = 347; // of the replayed capture
constexpr std::uint32_t plain = 4U << 5, damaged = plain | 1U << 24;

TEST_F(CaptureWireTest, RecordsBothDirectionsWithSequencesErrorsAndReasons) {
    start();
    replay({"-p", "0", "--fcs", "host", "--bad-fcs", "7"}); // nobody reads port 1, whose queue becomes full
    replay({"-p", "1", "--loop", "2"});
    const auto report = end();
    const auto file = readWireFile(output);
    unsigned queued = 0, full = 0, broken = 0, sent = 0;
    for (const auto& [kind, count] : file.frames) {
        const auto& [interface, flags, comment] = kind;
        if (interface == 1 && flags == plain && comment.empty())
            sent += count;
        else if (flags == damaged && comment == "dropped: wrong frame check sequence")
            broken += count;
        else if (flags == plain && comment == "dropped: receive queue full")
            full += count;
        else if (flags == plain && comment.empty())
            queued += count;
        else
            ADD_FAILURE() << interface << " " << flags << " " << comment;
    }
    EXPECT_EQ(sent, 2 * fileFrames);
    EXPECT_EQ(queued + full + broken, fileFrames);
    EXPECT_EQ(broken, fileFrames / 7);
    EXPECT_EQ(file.rightSequences, sent + queued + full);
    EXPECT_EQ(report["received"]["frames"], fileFrames);
    EXPECT_EQ(report["sent"]["frames"], sent);
    EXPECT_EQ(report["died"]["frames"], full + broken);
    EXPECT_EQ(report["missed"], (json{{"received", 0}, {"sent", 0}}));
    ASSERT_GE(file.otherBlocks.size(), 3U);
    const auto fcsBytes = std::string("\x0D\0\1\0\4\0\0\0", 8);
    EXPECT_THAT(file.otherBlocks[1], testing::AllOf(HasSubstr("port 0/1 received"), HasSubstr(fcsBytes)));
    EXPECT_THAT(file.otherBlocks[2], testing::AllOf(HasSubstr("port 0/1 sent"), HasSubstr(fcsBytes)));
}

TEST_F(CaptureWireTest, CountsExactlyWhatItMissedWhileItStood) {
    start();
    capture->signal(SIGSTOP);
    replay({"-p", "1", "--loop", "60"});
    capture->signal(SIGCONT);
    const auto report = end();
    const std::uint64_t missed = report["missed"]["sent"], sent = report["sent"]["frames"];
    EXPECT_GT(missed, 0U);
    EXPECT_EQ(sent + missed, 60 * fileFrames);
    std::string drops(12, '\0');
    drops[0] = 5; // an interface's dropped frames
    drops[2] = 8;
    std::memcpy(drops.data() + 4, &missed, sizeof missed);
    EXPECT_THAT(readWireFile(output).otherBlocks.back(), HasSubstr(drops));
}

TEST_F(CaptureWireTest, TellsAllItCountedAlsoWhenTheReaderLeft) {
    ReadingPipe reader(output); // which takes less than the replay brings
    start();
    replay({"-p", "0", "--fcs", "host", "--bad-fcs", "7", "--loop", "3"});
    reader.close();
    const auto report = json::parse(capture->wait().out);
    EXPECT_EQ(report["ended"], "because the reader closed the pipe");
    EXPECT_GT(report["died"]["frames"], 0);
}

TEST_F(CaptureWireTest, StreamsAtTheWireOrOfItsFileNameThePlaceOfEachPacketThatDied) {
    const auto streams = [&](const Words& options) {
        Words command = {ORVO_GIGE, "streams", "-p", "1", "--json", "--no-reset"};
        command.insert(command.end(), options.begin(), options.end());
        return command;
    };
    const auto awaitStart = [](Process& process) { ASSERT_TRUE(process.says("following the streams at")); };
    const auto reportOf = [](Process& process) {
        const auto outcome = process.wait();
        EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
        return json::parse(outcome.out);
    };
    // Beside a program that takes the frames: as many as find room
    constexpr unsigned few = 200 * 12;
    Process reader(streams({"-c", std::to_string(few - few / 7)}), environment);
    awaitStart(reader);
    Process listener(streams({"--at", "wire", "-c", std::to_string(few)}), environment);
    awaitStart(listener);
    Process watch({ORVO_GIGE, "watch", "--json", "--board", "0", "--interval", "0.05"}, environment);
    ASSERT_TRUE(watch.reaches([&] { return std::ranges::count(watch.output(), '\n') == 2; })); // and listens
    const Words spoiled = {"-p", "0", "--receive", "0/0", "--fcs", "host", "--bad-fcs", "7"};
    replay(spoiled, writeImages(folder.file("few.pcap"), 200));
    const auto atWire = reportOf(listener), atHost = reportOf(reader);
    EXPECT_EQ(atWire["received"]["frames"], few);
    for (const auto* figure : {"images", "packets", "bytes", "damaged"})
        EXPECT_EQ(atWire["streams"][0][figure], atHost["streams"][0][figure]) << figure;
    EXPECT_EQ(atWire["losses"], atHost["losses"]);
    EXPECT_EQ(atWire["losses"]["places"], (json{{{"where", "as damaged frames"}, {"frames", few / 7}}}));

    const auto asWatched =
        "\"complete\":0,\"incomplete\":" + std::to_string(200 - 16); // the last may be resent
    EXPECT_TRUE(watch.reaches([&] { return watch.output().find(asWatched) != std::string::npos; }));

    constexpr unsigned many = 1000 * 12; // more than the queue holds, and nobody reads
    start();
    replay(spoiled, writeImages(folder.file("many.pcap"), 1000));
    const std::uint64_t died = end()["died"]["frames"];
    const auto ofFile = json::parse(runTool({"streams", output, "--json"}).out);
    EXPECT_EQ(ofFile["streams"][0]["packets"]["received"], many - died);
    EXPECT_EQ(ofFile["losses"]["packets"], died);
    EXPECT_EQ(ofFile["losses"]["places"],
              (json{{{"where", "in the port's receive queue"}, {"frames", died - many / 7}},
                    {{"where", "as damaged frames"}, {"frames", many / 7}}}));
}

TEST_F(CaptureWireTest, RefusesWhatItCannotDoInOneLine) {
    start();
    std::deque<Process> others;
    for (auto i = 0; i < 3; ++i) {
        auto& other =
            others.emplace_back(Words{ORVO_GIGE, "streams", "--at", "wire", "-p", "1"}, environment);
        ASSERT_TRUE(other.reaches([&] { return other.errors().find("at the wire") != std::string::npos; }));
    }
    const std::tuple<Words, int, const char*> cases[] = {
        {{"-p", "1"}, 1, "four programs listen there already"},
        {{"-p", "0", "--crc-watch"}, 2, "--crc-watch is for --at host"},
        {{"-p", "7/0"}, 1, "there is no such port"},
    };
    for (const auto& [options, exitCode, complaint] : cases) {
        for (const std::string command : {"capture", "streams"}) {
            Words words = {command, "--at", "wire"};
            words.insert(words.end(), options.begin(), options.end());
            const auto outcome = runTool(words, environment);
            EXPECT_EQ(outcome.exitCode, exitCode);
            EXPECT_THAT(outcome.err, HasSubstr(complaint));
        }
    }
    expectRefusal({"streams", "--at", "wire", "--no-reset", output}, 2,
                  "--at, --no-reset are for a port, not for a capture; leave them out");
    // Without a file, a line a frame tells its direction and its end.
    const auto command = Words{ORVO_GIGE, "capture", "--at", "wire", "-p", "0", "--count", "1"};
    Process lines(command, environment);
    EXPECT_TRUE(lines.says("at the wire"));
    replay({"-p", "0"});
    EXPECT_THAT(lines.wait().out, HasSubstr(" sent     ae:75:c6:22:7f:e4 > ff:ff:ff:ff:ff:ff ARP 60 "));
}

} // namespace
} // namespace orvo::host
