// SPDX-License-Identifier: MIT
// Recordings of board calls: written, read back, damaged, compared, and run on.
#include "Process.h"

#include "base/Failure.h"
#include "device/recording/Recorder.h"
#include "device/recording/RecordingFile.h"

#include <nlohmann/json.hpp>

#include <sys/stat.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <random>
#include <thread>

namespace orvo::host {
namespace {

using namespace testing_support;
using testing::HasSubstr;

constexpr auto recordedFrames = ORVO_TEST_DATA "/recordings/frames.pcap";

class RecordingTest : public testing::Test {
protected:
    std::string record(const std::string& name, std::vector<std::string> arguments) {
        const auto path = folder.file(name);
        arguments.insert(arguments.end(), {"--record", path});
        const auto outcome = runTool(arguments);
        EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
        return path;
    }
    std::string recordedReset() { return record("reset.rec", {"reset", "--time", "virtual"}); }

    TemporaryFolder folder;
};

std::size_t wholeCalls(const std::string& path) {
    RecordingReader reader(path);
    std::size_t calls = 0;
    while (const auto block = reader.next()) calls += block->calls.size();
    return calls;
}

TEST_F(RecordingTest, RepeatsFramesAndStatisticsAndRefusesOtherCalls) {
    const auto recording = record("run.rec", {"replay", recordedFrames, "--no-reset", "--wire", "0=port:0/1",
                                              "--write", folder.file("first")});
    for (const auto* const again : {"second", "third"}) {
        const auto outcome = runTool({"replay", recordedFrames, "--no-reset", "--verify", "--json", "--write",
                                      folder.file(again), "--board-recording", recording});
        EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
        EXPECT_EQ(framesOf(folder.file(again)), framesOf(folder.file("first")));
    }
    writeCapture(folder.file("other.pcap"), {numberedFrame(1, 64)});
    const auto other =
        runTool({"replay", folder.file("other.pcap"), "--no-reset", "--board-recording", recording});
    EXPECT_EQ(other.exitCode, 3);
    EXPECT_THAT(other.err, HasSubstr("differs from the recording"));
    EXPECT_THAT(other.err, HasSubstr(", GigeBufferReset0, 0x0) = 0\n"));
    const auto shorter =
        runTool({"replay", recordedFrames, "--no-reset", "--port", "1", "--board-recording", recording});
    EXPECT_EQ(shorter.exitCode, 3);

    const auto frames = runTool({"calls", recording, "--pcapng", folder.file("frames")});
    EXPECT_EQ(frames.exitCode, 0) << frames.err;
    EXPECT_EQ(framesOf(folder.file("frames")).size(), 2 * framesOf(folder.file("first")).size());
}

/// Each command on a recording of the same command at port 0; what differs first at port 1.
TEST_F(RecordingTest, NamesTheFirstCallThatDiffers) {
    const struct {
        std::vector<std::string> command;
        const char* difference;
    } rows[] = {
        {{"reset", "--time", "virtual"}, "made      KivGetRegisterByName(applet 2, 'GigeBufferReset1')"},
        {{"diagnose", "--time", "virtual"}, "made      KivGetRegisterByName(applet 2, 'GigeBufferReset1')"},
        {{"exercise", "--time", "virtual", "--no-reset", "setup", "send=60"},
         "made      KivGetRegisterByName(applet 2, 'GigeBufferReset1')"},
        {{"capture", "--no-reset", "-c", "1", "--wire", "0=pcap:" ORVO_TEST_DATA "/recordings/frames.pcap"},
         "made      KivGetRegisterByName(applet 2, 'GigeBufferReset1')"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.command[0]);
        const auto recording = record(row.command[0], row.command);
        auto command = row.command;
        if (command[0] == "capture") command.resize(command.size() - 2); // without the wire
        command.insert(command.end(), {"--board-recording", recording});
        const auto same = runTool(command);
        EXPECT_EQ(same.exitCode, 0) << same.err;
        command.insert(command.begin() + 1, {"--port", "1"});
        const auto other = runTool(command);
        EXPECT_EQ(other.exitCode, 3) << other.err;
        EXPECT_THAT(other.err, HasSubstr(row.difference));
        EXPECT_THAT(other.err, HasSubstr("recorded  KivGetRegisterByName(applet 2, 'GigeBufferReset0')"));
    }
    const auto usage = std::vector<std::string>{"exercise", "setup", "send"};
    expectRefusal(usage, 2, "the step 'send' is not of the form send=BYTES[,FCS_ERROR_MASK]");
    expectRefusal({"exercise", "sleep"}, 2, "there is no step 'sleep'; the steps are use setup ");
    for (const auto* const step : {"send=-1", "send=60,-1", "send=65536", "pause=3600001", "use=0,-1"})
        expectRefusal({"exercise", step}, 2, "has an impossible number; the first is 0 to ");
}

TEST_F(RecordingTest, ComparesRecordings) {
    const auto reset = recordedReset();
    const auto played = runTool({"reset", "--json", "--board-recording", reset});
    EXPECT_GE(nlohmann::json::parse(played.out)["resetSeconds"], 1.29) << "of virtual time";
    const auto copy = folder.file("copy.rec"); // a second run may see the link at another moment
    writeFile(copy, contentOf(reset));
    const auto same = runTool({"calls", reset, "--diff", copy});
    EXPECT_EQ(same.exitCode, 0) << same.out;
    const auto other = runTool(
        {"calls", reset, "--diff", record("other.rec", {"reset", "--port", "1", "--time", "virtual"})});
    EXPECT_EQ(other.exitCode, 3);
    EXPECT_THAT(other.out, HasSubstr("first   KivGetRegisterByName(applet 2, 'GigeBufferReset0')"));
    const auto filtered = runTool({"calls", reset, "--register", "GigE_Reset", "--json"});
    EXPECT_THAT(filtered.out, HasSubstr(R"("register":"GigE_Reset")"));
}

constexpr std::size_t fileHeadBytes = 16;

/// Where each block of a whole recording ends.
std::vector<std::size_t> blockEnds(const std::string& recording) {
    std::vector<std::size_t> ends;
    for (auto at = fileHeadBytes; at < recording.size(); ends.push_back(at)) {
        BlockHead head;
        std::memcpy(&head, recording.data() + at, sizeof head);
        at += sizeof head + head.storedBytes;
    }
    return ends;
}

/// A recording whose blocks of calls come three times, so that there are several.
std::string withBlocksRepeated(const std::string& recording) {
    const auto ends = blockEnds(recording);
    const auto first = ends.front(), last = ends[ends.size() - 2];
    const auto calls = recording.substr(first, last - first);
    return recording.substr(0, last) + calls + calls + recording.substr(last);
}

TEST_F(RecordingTest, UsesWholeBlocksBeforeDamage) {
    const auto whole = withBlocksRepeated(contentOf(recordedReset()));
    const auto path = folder.file("damaged.rec");
    const auto ends = blockEnds(whole);
    ASSERT_EQ(ends.size(), 5U); // header, three of calls, closing
    const auto callsOfBlock = wholeCalls(folder.file("reset.rec"));
    for (std::size_t at = 0; at < whole.size(); at += 97) {
        SCOPED_TRACE(at);
        auto changed = whole;
        changed[at] = static_cast<char>(changed[at] ^ 0x10);
        const auto blocks = static_cast<std::size_t>(std::ranges::upper_bound(ends, at) - ends.begin());
        for (const auto& content : {changed, whole.substr(0, at)}) {
            writeFile(path, content);
            try {
                RecordingReader reader(path);
                std::size_t found = 0;
                while (const auto block = reader.next()) found += block->calls.size();
                EXPECT_EQ(found, (blocks - 1) * callsOfBlock);
                EXPECT_THAT(reader.fault(), HasSubstr("after " + std::to_string(blocks) + " whole block"));
            } catch (const Failure& failure) {
                EXPECT_EQ(blocks, 0U);
                EXPECT_THAT(failure.what(), HasSubstr(path));
            }
        }
    }
    auto newer = whole;
    newer[8] = 2;
    newer[12] = static_cast<char>(~2);
    writeFile(path, newer);
    expectRefusal({"calls", path}, 1, "is of version 2, and this program reads version 1");
}

/// A script sees it: when the recording is made, and whenever it is read.
TEST_F(RecordingTest, EndsWithDifferencesWhereCallsAreMissing) {
    const auto path = folder.file("short.rec");
    const auto run = Process({"sh", "-c", "ulimit -f 96; exec \"$0\" \"$@\"", ORVO_GIGE, "replay",
                              ORVO_TEST_DATA "/gige-vision.pcapng", "--no-reset", "--time", "virtual",
                              "--wire", "0=port:0/1", "--record", path})
                         .wait();
    EXPECT_EQ(run.exitCode, 3);
    EXPECT_THAT(run.err, HasSubstr("calls could not be kept; cannot write the recording"));
    EXPECT_THAT(run.out, HasSubstr("received  1,400 frames"));
    const auto whole = recordedReset();
    for (const auto& arguments : std::vector<std::vector<std::string>>{
             {}, {"--json"}, {"--pcapng", folder.file("frames")}, {"--diff", path}, {"--diff", whole}}) {
        std::vector<std::string> command{"calls", path};
        command.insert(command.end(), arguments.begin(), arguments.end());
        SCOPED_TRACE(testing::PrintToString(command));
        const auto outcome = runTool(command);
        EXPECT_EQ(outcome.exitCode, 3);
        EXPECT_THAT(outcome.err, HasSubstr("ends without its last block"));
    }
}

TEST_F(RecordingTest, RefusesUnfittingOptionsInOneLineAndTouchesNothing) {
    const auto reset = recordedReset();
    const auto input = folder.file("input.pcap");
    writeFile(input, contentOf(recordedFrames));
    expectRefusal({"reset", "--board-recording", reset, "--record", reset}, 2, "leave one of both out");
    expectRefusal({"reset", "--board-recording", reset, "--wire", "0=loopback"}, 2, "leave the option out");
    expectRefusal({"calls", reset, "--diff", reset, "--thread", "0"}, 2, "compares whole recordings");
    expectRefusal({"calls", reset, "--from", "2", "--to", "1"}, 2, "--from is later than --to");
    expectRefusal({"calls", reset, "--pcapng", input, "--json"}, 2, "leave --json out");
    expectRefusal({"selftest", "--board", "0", "--renew"}, 2, "leave --board out");
    expectRefusal({"selftest", "--board", "9"}, 1, "there is no board 9, or another program holds it; ");
    expectRefusal({"replay", input, "--record", input}, 1, "is no recording; name another file");
    EXPECT_EQ(contentOf(input), contentOf(recordedFrames));
    expectRefusal({"reset", "--record", "/dev/full"}, 1, "free some space");
    const auto unwritten = folder.file("unwritten");
    Process({"sh", "-c", "ulimit -f 0; exec \"$0\" reset --record \"$1\"", ORVO_GIGE, unwritten}).wait();
    EXPECT_FALSE(std::filesystem::exists(unwritten));
}

/// A block of a few bytes must not take all memory, nor a deep one the stack.
TEST(BlockCodecTest, RefusesBlocksOfExcessiveSizeOrDepth) {
    constexpr std::uint32_t count = 4U << 20U;
    std::vector<std::uint8_t> wide = {0x9A, 0, count >> 16U, 0, 0}; // an array of so many
    wide.resize(wide.size() + count, 0x80);                         // empty arrays
    EXPECT_THROW(parsedBlock(wide), Failure);
    EXPECT_THROW(parsedBlock(std::vector<std::uint8_t>(1U << 20U, 0x81)), Failure);
    EXPECT_EQ(parsedBlock(std::vector<std::uint8_t>{0x81, 0x80}).size(), 1U);
}

/// Notes 1 to `calls`, then takes them out and adds up what is kept and what a gap tells.
TEST(CallRingTest, TellsOfCallsThatFoundNoRoom) {
    CallRing ring;
    constexpr std::size_t bytes = 65'536, tries = 2 * CallRing::capacity / bytes;
    std::uint64_t kept = 0, lost = 0;
    const auto note = [&] {
        std::byte* const room = ring.reserve(bytes);
        if (!room) return;
        const RawCall call{bytes, Entry::OHalPutDevice, 0, RawKind::Call, 0, 0, 1, 0};
        std::memcpy(room, &call, sizeof call);
        ring.publish(bytes);
    };
    for (std::uint64_t i = 0; i < tries; ++i) note();
    const auto count = [&](const std::byte* record) {
        const RawReader reader(record);
        if (reader.call.kind == RawKind::Call) ++kept;
        if (reader.call.kind == RawKind::Gap) lost += reader.call.times;
    };
    ring.drain(count);
    note();
    ring.drain(count);
    EXPECT_EQ(kept + lost, tries + 1);
    EXPECT_EQ(kept, 1 + CallRing::capacity / bytes);
    EXPECT_EQ(ring.untoldLoss(), 0U);
}

int answerZero(void*) {
    return 0;
}

/// A program may start and end many threads while it records; each has a ring of megabytes.
TEST(CallCollectorTest, LetsGoOfThreadsThatEnded) {
    constexpr auto row = static_cast<std::size_t>(Entry::OHalPutDevice);
    EntryTable originals{};
    originals[row] = reinterpret_cast<void*>(&answerZero);
    constexpr int threads = 40;
    std::vector<std::weak_ptr<ThreadCalls>> rings;
    {
        CallCollector collector(originals);
        const auto call = reinterpret_cast<decltype(&answerZero)>(recordingEntries[row]);
        for (int i = 0; i < threads; ++i) {
            std::thread([call] { call(nullptr); }).join();
            const auto all = collector.threads();
            ASSERT_EQ(all.size(), 1U);
            EXPECT_TRUE(all.front()->hasEnded);
            EXPECT_EQ(all.front()->number, static_cast<unsigned>(i));
            rings.push_back(all.front());
            collector.forget(*all.front());
        }
    }
    for (const auto& ring : rings) EXPECT_TRUE(ring.expired());

    const TemporaryFolder folder;
    {
        const Recorder recorder(folder.file("threads.rec"), originals, {{"begin", 0}});
        const auto call = reinterpret_cast<decltype(&answerZero)>(recordingEntries[row]);
        for (int i = 0; i < threads; ++i) std::thread([call] { call(nullptr); }).join();
    }
    EXPECT_EQ(wholeCalls(folder.file("threads.rec")), static_cast<std::size_t>(threads));
}

int answerWrite(void*, std::uint32_t, std::uint64_t) {
    return 0;
}

TEST(CallCollectorTest, EndsWhileThreadsJoin) {
    std::atomic<bool> isOver{false};
    const auto join = [&] {
        while (!isOver) std::jthread([] { CallCollector::ofThisThread(); });
    };
    const std::jthread one(join), other(join);
    for (int i = 0; i < 5000; ++i) {
        const auto collector = std::make_unique<CallCollector>(EntryTable{});
        std::this_thread::yield();
    }
    isOver = true;
}

/// A pipe whose reader sleeps stands for a disk that does: calls go on, and those that find no room are
/// counted.
TEST(RecorderTest, NeverWaitsForASlowDisk) {
    constexpr auto row = static_cast<std::size_t>(Entry::OHalRegisterWrite);
    constexpr std::uint64_t made = 2 * CallRing::capacity / sizeof(RawCall);
    EntryTable originals{};
    originals[row] = reinterpret_cast<void*>(&answerWrite);
    const TemporaryFolder folder;
    const auto pipe = folder.file("pipe"), copy = folder.file("copy.rec");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    const FileDescriptor end(open(pipe.c_str(), O_RDONLY | O_NONBLOCK)); // without it nobody could write
    std::optional<Recorder> recorder(std::in_place, pipe, originals, nlohmann::json{{"begin", 0}});
    const auto call = reinterpret_cast<decltype(&answerWrite)>(recordingEntries[row]);
    std::mt19937_64 values; // which hardly shrink, so that the pipe is full at once
    for (std::uint64_t i = 0; i < made; ++i) call(nullptr, 0, values() | 0x10000);
    Process reader({"cp", pipe, copy});
    EXPECT_THAT(recorder->finish(), HasSubstr("could not be kept, because the writing was too slow"));
    recorder.reset();
    EXPECT_EQ(reader.wait().exitCode, 0);
    RecordingReader recording(copy);
    while (recording.next()) {
    }
    ASSERT_EQ(recording.fault(), "");
    const auto lost = recording.closing()["lost"].get<std::uint64_t>();
    EXPECT_GT(lost, 0U);
    EXPECT_EQ(recording.closing()["calls"].get<std::uint64_t>() + lost, made);
}

TEST(SelftestTest, PassesOnTheShippedRecordings) {
    // The leak checker reads thread-local memory of libraries that are no longer loaded, and crashes.
    setenv("ASAN_OPTIONS", "detect_leaks=0", 1);
    const auto outcome = runTool({"selftest", "--json"});
    EXPECT_EQ(outcome.exitCode, 0) << outcome.out << outcome.err;
    EXPECT_GE(nlohmann::json::parse(outcome.out)["cases"].size(), 25U);
    const auto absent = runTool({"selftest", "--board", "9"});
    EXPECT_EQ(absent.exitCode, 1);
    EXPECT_THAT(absent.err, HasSubstr("there is no board 9"));
}

} // namespace
} // namespace orvo::host
