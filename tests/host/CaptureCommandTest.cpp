// SPDX-License-Identifier: MIT
// `orvo-gige capture` as its users call it, on the simulated board, whose wire plays a capture.
#include "PipeReader.h"
#include "Process.h"

#include "frames/CaptureOutput.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <deque>

namespace orvo::host {
namespace {

using namespace testing_support;
using nlohmann::json;
using testing::HasSubstr;

class CaptureCommandTest : public testing::Test {
protected:
    CaptureCommandTest() {
        for (unsigned i = 0; i < 500; ++i) sent.push_back(numberedFrame(i, i % 2 == 0 ? 60 : 1400));
        writeCapture(folder.file("in"), sent);
    }

    /// The host program's arguments.
    std::vector<std::string> capture(const std::vector<std::string>& options) const {
        std::vector<std::string> command = {"capture", "--no-reset", "--wire", "0=pcap:" + folder.file("in")};
        command.insert(command.end(), options.begin(), options.end());
        return command;
    }

    /// The same with standard output led into a pipe.
    std::vector<std::string> intoPipe(const std::string& pipe,
                                      const std::vector<std::string>& options) const {
        std::vector<std::string> command = {
            "sh", "-c", R"(pipe=$1; shift; exec "$0" "$@" --write - > "$pipe")", ORVO_GIGE, pipe};
        const auto rest = capture(options);
        command.insert(command.end(), rest.begin(), rest.end());
        return command;
    }

    /// The report of a capture that must end well.
    json report(std::vector<std::string> options) const {
        options.emplace_back("--json");
        const auto outcome = runTool(capture(options));
        EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
        return json::parse(outcome.out);
    }

    const TemporaryFolder folder;
    const std::string output = folder.file("out.pcapng");
    std::vector<Frame> sent;
};

TEST_F(CaptureCommandTest, WritesWhatPassesUntilItsLimit) {
    std::vector<Frame> longOnes;
    std::copy_if(sent.begin(), sent.end(), std::back_inserter(longOnes),
                 [](const Frame& frame) { return frame.size() == 1400; });
    const struct {
        std::vector<std::string> options;
        std::vector<Frame> expected;
        std::uint64_t received;
        std::string ended;
    } cases[] = {
        {{"--duration", "0.3"}, sent, 500, "after the requested time"},
        {{"--duration", "0.3", "--filter", "greater 1000"}, longOnes, 500, "after the requested time"},
        {{"--count", "7"}, {sent.begin(), sent.begin() + 7}, 7, "after the requested number of frames"},
        {{"--count", "2", "--filter", "greater 1000"},
         {sent[1], sent[3]},
         4,
         "after the requested number of frames"},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(testing::PrintToString(row.options));
        auto options = row.options;
        options.insert(options.end(), {"--write", output});
        const auto found = report(options);
        EXPECT_TRUE(framesOf(output) == row.expected);
        EXPECT_EQ(found["received"]["frames"], row.received);
        EXPECT_EQ(found["written"], row.expected.size());
        EXPECT_EQ(found["filteredOut"], row.received - row.expected.size());
        EXPECT_EQ(found["ended"], row.ended);
        EXPECT_EQ(found["statistics"][0]["received"]["frames"], row.received);
    }
}

TEST_F(CaptureCommandTest, EndsWellOnASignalWithEverythingWritten) {
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        SCOPED_TRACE(number);
        std::filesystem::remove(output);
        auto command = capture({"--write", output});
        command.insert(command.begin(), ORVO_GIGE);
        Process process(command);
        process.reaches([&] { return contentOf(output).size() >= 300'000; });
        for (int i = 0; i < 3; ++i) process.signal(number); // timeout(1) sends two
        const auto outcome = process.wait();
        EXPECT_EQ(outcome.exitCode, 0);
        EXPECT_THAT(outcome.out, HasSubstr("ended     by a signal"));
        EXPECT_TRUE(framesOf(output) == sent);
    }
}

// A reader that waits for the frames sees them before the capture ends; when it is gone, the capture ends,
// though nothing comes any more.
TEST_F(CaptureCommandTest, ShowsFramesToAReaderAtOnceAndEndsWithIt) {
    ReadingPipe fifo(folder.file("fifo"));
    Process process(intoPipe(fifo.path(), {}));
    const auto seen = fifo.readUntil(sent.back(), process);
    fifo.close();
    const auto outcome = process.wait();
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_THAT(outcome.err, HasSubstr("written   500 frames to standard output"));
    EXPECT_THAT(outcome.err, HasSubstr("because the reader closed the pipe"));
    writeFile(output, seen);
    EXPECT_TRUE(framesOf(output) == sent);
}

TEST_F(CaptureCommandTest, WithoutAFilePrintsALineAFrame) {
    const auto frame = "\xFF\xFF\xFF\xFF\xFF\xFF" + std::string("\x02\0\0\0\0\x07\x88\xB5", 8);
    writeCapture(folder.file("in"),
                 {frame + Frame(46, 'a'), frame + Frame(100, 'b'), frame + Frame(46, 'c')});
    const auto line = [](unsigned bytes) {
        return "[0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{6} 02:00:00:00:00:07 > ff:ff:ff:ff:ff:ff 0x88b5 " +
               std::to_string(bytes) + "\n";
    };
    const auto two = runTool(capture({"--count", "2"}));
    EXPECT_EQ(two.exitCode, 0);
    EXPECT_THAT(two.out, testing::MatchesRegex(line(60) + line(114)));
    EXPECT_THAT(two.err, HasSubstr("written   2 frames to standard output\n"));
    const auto some = runTool(capture({"--count", "1", "--filter", "greater 100", "--json"}));
    EXPECT_THAT(some.out, testing::MatchesRegex(line(114)));
    EXPECT_THAT(some.err, HasSubstr("\"files\": "));

    // A reader that goes away ends it, though nothing comes any more.
    std::vector<std::string> command{"bash", "-c", R"("$0" "$@" | head -1; echo "${PIPESTATUS[0]}")",
                                     ORVO_GIGE};
    const auto rest = capture({});
    command.insert(command.end(), rest.begin(), rest.end());
    const auto head = Process(command).wait();
    EXPECT_THAT(head.out, testing::MatchesRegex(line(60) + "0\n"));
    EXPECT_THAT(head.err, HasSubstr("because the reader closed the pipe"));
}

TEST_F(CaptureCommandTest, SaysOnceWhyNoFrameComes) {
    const std::pair<const char*, const char*> cases[] = {{"0=loopback", "it has a loopback plug"},
                                                         {"0=none", "nothing is plugged in"}};
    std::deque<Process> processes; // at the same time, since each takes seconds
    for (const auto& [wire, reason] : cases)
        processes.emplace_back(std::vector<std::string>{ORVO_GIGE, "capture", "--no-reset", "--wire", wire});
    for (std::size_t i = 0; i < processes.size(); ++i) {
        const auto sentence = std::string("no frame has come to port 0/0 in 3 s: ") + cases[i].second;
        processes[i].says(sentence);
        processes[i].signal(SIGTERM);
        EXPECT_EQ(processes[i].wait().exitCode, 0);
    }
}

TEST_F(CaptureCommandTest, AReaderThatStallsDoesNotKeepItFromEnding) {
    ReadingPipe fifo(folder.file("fifo")); // holds less than there is to write
    const auto outcome = Process(intoPipe(fifo.path(), {"--duration", "0.3"})).wait();
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_THAT(outcome.err, HasSubstr("ended     after the requested time"));
    EXPECT_THAT(outcome.err, testing::ContainsRegex("unread    [0-9]+ frames"));
    ReadingPipe other(folder.file("other"));
    Process process(intoPipe(other.path(), {}));
    other.readUntil(sent.front(), process);
    process.signal(SIGTERM);
    EXPECT_THAT(process.wait().err, HasSubstr("ended     by a signal"));
}

TEST_F(CaptureCommandTest, RingKeepsTheNewestFramesInFilesOfItsSize) {
    const auto found = report({"--duration", "0.3", "--write", output, "--ring", "3:100k"});
    ASSERT_EQ(found["files"].size(), 3u);
    std::vector<Frame> kept;
    for (const auto& file : found["files"]) {
        const std::string path = file["file"];
        EXPECT_LE(contentOf(path).size(), 100'000u);
        const auto frames = framesOf(path);
        EXPECT_EQ(file["frames"], frames.size());
        kept.insert(kept.end(), frames.begin(), frames.end());
    }
    EXPECT_GT(contentOf(found["files"][0]["file"]).size(), 98'000u); // full but for a frame
    EXPECT_TRUE(kept ==
                std::vector<Frame>(sent.end() - static_cast<std::ptrdiff_t>(kept.size()), sent.end()));
    EXPECT_EQ(found["overwritten"], sent.size() - kept.size());
    EXPECT_FALSE(std::filesystem::exists(output));
}

TEST_F(CaptureCommandTest, KeepsWhatFitsOnAFullDisk) {
    auto command = capture({"--write", output});
    command.insert(command.begin(), {"sh", "-c", "ulimit -f 200; exec \"$0\" \"$@\"", ORVO_GIGE});
    const auto outcome = Process(command).wait();
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_THAT(outcome.err, HasSubstr("orvo-gige: cannot write '" + output + "': File too large; "));
    const auto frames = framesOf(output);
    EXPECT_GT(frames.size(), 100u);
    EXPECT_THAT(outcome.out, HasSubstr("written   " + std::to_string(frames.size()) + " frames"));
    EXPECT_TRUE(frames ==
                std::vector<Frame>(sent.begin(), sent.begin() + static_cast<std::ptrdiff_t>(frames.size())));
}

TEST_F(CaptureCommandTest, RefusesBadInputInOneLineAndTouchesNothing) {
    writeFile(output, "precious");
    const struct {
        std::vector<std::string> options;
        int exitCode;
        std::string complaint;
    } cases[] = {
        {{"--ring", "2:1M"}, 2, "--ring requires --write"},
        {{"--write", ""}, 2, "--write: the file name is empty"},
        {{"--write", output, "--filter", "udp and prt 3"},
         2,
         "'udp and prt 3' does not compile: syntax error"},
        {{"--write", output, "--count", "0"}, 2, "--count: '0' is not a whole number from 1"},
        {{"--write", output, "--count=-1"}, 2, "--count: '-1' is no"},
        {{"--write", output, "--count", "99999999999999999999999"}, 2, "--count"},
        {{"--write", output, "--duration", "-1"}, 2, "--duration: '-1' is not a number of seconds"},
        {{"--write", output, "--duration", "nan"}, 2, "--duration"},
        {{"--write", output, "--duration", "inf"}, 2, "--duration"},
        {{"--write", output, "--ring", "3"}, 2, "'3' is not of the form FILES:SIZE"},
        {{"--write", "-", "--ring", "2:1M"}, 2, "--ring needs files"},
        {{"--write", folder.file("no/out")}, 1, "No such file"},
        {{"--write", "/dev/full"}, 1, "No space left on device"},
        {{"--write", folder.file("./in")}, 1, "the wire of port 0/0 plays '" + folder.file("in")},
        {{"--write", output, "--wire", "1=pcap:" + folder.file("in") + "," + output},
         1,
         "the wire of port 0/1 records into '" + output},
        {{"--write", folder.file("in"), "--ring", "9:1M", "--wire", "1=pcap:" + folder.file("in-3")},
         1,
         "the wire of port 0/1 plays"},
    };
    writeCapture(folder.file("in-3"), sent);
    const auto input = contentOf(folder.file("in"));
    for (const auto& row : cases) {
        expectRefusal(capture(row.options), row.exitCode, row.complaint);
        EXPECT_EQ(contentOf(output), "precious");
        EXPECT_TRUE(contentOf(folder.file("in")) == input);
        EXPECT_TRUE(contentOf(folder.file("in-3")) == input);
    }
    const auto closed = Process({"sh", "-c", R"("$0" capture --no-reset --write - >&-)", ORVO_GIGE}).wait();
    EXPECT_EQ(closed.exitCode, 1);
    EXPECT_THAT(closed.err, HasSubstr("cannot write to standard output: Bad file descriptor; redirect it"));
}

TEST(FileRingTest, ReadsItsSizeAndNamesItsFiles) {
    const struct {
        const char* text;
        std::uint64_t fileBytes; // 0: refused
    } cases[] = {
        {"2:4096", 4096},
        {"10:64k", 64'000},
        {"10:3M", 3'000'000},
        {"100000:2G", 2'000'000'000},
        {"1:1M", 0},
        {"100001:1M", 0},
        {"2:4095", 0},
        {"2:1T", 0},
        {"2:1MM", 0},
        {"2", 0},
        {"2:", 0},
        {":1M", 0},
        {"-2:1M", 0},
        {"2:-1M", 0},
        {"2:18446744073709552k", 0},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.text);
        const auto ring = FileRing::parse(row.text);
        EXPECT_EQ(ring ? ring->fileBytes : 0, row.fileBytes);
    }
    const FileRing ring{10, 4096};
    EXPECT_EQ(ring.fileName("a.b/out.pcapng", 3), "a.b/out-03.pcapng");
    EXPECT_EQ(ring.fileName("a.b/out", 10), "a.b/out-10");
}

} // namespace
} // namespace orvo::host
