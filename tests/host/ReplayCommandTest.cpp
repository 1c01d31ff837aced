// SPDX-License-Identifier: MIT
// `orvo-gige replay` as its users call it, on the simulated board; without the board's reset, which takes 5
// s.
#include "Process.h"

#include "base/Failure.h"
#include "device/Plugin.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <sys/stat.h>
#include <unistd.h>

namespace orvo::host {
namespace {

using namespace testing_support;
using nlohmann::json;
using testing::HasSubstr;

const std::string visionCapture = ORVO_TEST_DATA "/gige-vision.pcapng";
const std::string lanCapture = ORVO_TEST_DATA "/mixed-lan.pcap";

Outcome replay(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {"replay", "--no-reset"});
    return runTool(std::move(arguments));
}

class ReplayCommandTest : public testing::Test {
protected:
    TemporaryFolder folder;
    const std::string output = folder.file("out.pcapng");
};

TEST_F(ReplayCommandTest, BringsRealCapturesBackWhole) {
    for (const auto& capture : {visionCapture, lanCapture})
        for (const char* wire : {"0=loopback", "0=port:0/3"}) {
            SCOPED_TRACE(capture + " " + wire);
            const auto outcome = replay({capture, "--verify", "--write", output, "--wire", wire});
            EXPECT_EQ(outcome.exitCode, 0);
            EXPECT_EQ(outcome.err, "");
            auto expected = framesOf(capture);
            EXPECT_THAT(outcome.out, HasSubstr("Send - " + std::to_string(expected.size()) + " frames ("));
            EXPECT_THAT(outcome.out, HasSubstr("Recv - " + std::to_string(expected.size()) + " frames ("));
            for (auto& frame : expected)
                frame.resize(std::max<std::size_t>(60, frame.size() + frame.size() % 2)); // as it was sent
            EXPECT_TRUE(framesOf(output) == expected);
        }
}

TEST_F(ReplayCommandTest, WritesToStandardOutputAndReportsBesideIt) {
    const auto outcome = replay({lanCapture, "--write", "-"});
    EXPECT_EQ(outcome.exitCode, 0);
    writeFile(output, outcome.out);
    EXPECT_EQ(framesOf(output).size(), 347U);
    EXPECT_THAT(outcome.err, HasSubstr("347 frames to standard output"));
}

TEST_F(ReplayCommandTest, WritesWhatOtherToolsRead) {
    if (Process({"sh", "-c", "command -v tshark"}).wait().exitCode != 0)
        GTEST_SKIP() << "tshark is not installed";
    ASSERT_EQ(replay({visionCapture, "--write", output}).exitCode, 0);
    const auto seen =
        Process({"tshark", "-r", output, "-Y", "gvsp || gvcp"}, {"HOME=" + folder.file("")}).wait();
    EXPECT_EQ(seen.exitCode, 0);
    EXPECT_THAT(seen.err, testing::Not(testing::ContainsRegex("[Ww]arning|damaged|cut short|[Ee]rror")));
    EXPECT_GT(std::count(seen.out.begin(), seen.out.end(), '\n'), 1000);
}

TEST_F(ReplayCommandTest, CountsWhatCannotBeSentAndVerifiesNoFileThatWasNotSentWhole) {
    const auto input = folder.file("in");
    writeCapture(input, {Frame(60, 'a'), Frame(1515, 'b'), Frame(9000, 'c'), Frame(8, 'd'), Frame(70, 'e')});
    EXPECT_EQ(replay({input}).exitCode, 0) << "nobody demanded every frame";
    const auto outcome = replay({input, "--verify", "--json"});
    EXPECT_EQ(outcome.exitCode, 3);
    const auto report = json::parse(outcome.out);
    EXPECT_EQ(report["read"]["frames"], 5);
    EXPECT_EQ(report["sent"], json::parse(R"({"frames":2,"bytes":130})"));
    EXPECT_EQ(report["received"], report["sent"]);
    EXPECT_EQ(report["dropped"]["frames"], 3);
    EXPECT_EQ(report["dropped"]["reasons"][0]["frames"], 2);
    EXPECT_THAT(report["dropped"]["reasons"][0]["reason"], HasSubstr("longer than 1514 bytes"));
    EXPECT_EQ(report["statistics"][0]["sent"], json::parse(R"({"frames":2,"bytes":138})"));
    EXPECT_EQ(report["verification"]["passed"], false);
    EXPECT_EQ(report["verification"]["unsent"], 3);

    constexpr std::size_t snapLength = 64;
    writeCapture(input, {Frame(60, 'a'), Frame(70, 'b')}, snapLength);
    const auto cut = replay({input, "--verify"});
    EXPECT_EQ(cut.exitCode, 3);
    EXPECT_THAT(cut.out,
                HasSubstr("DIFFERENT: 1 identical, 0 changed, 0 lost, 0 late, 0 foreign, 1 not sent"));

    writeFile(input, contentOf(lanCapture).substr(0, 100'000));
    const auto early = replay({input, "--loop", "2"});
    EXPECT_EQ(early.exitCode, 3);
    EXPECT_THAT(early.out, HasSubstr("received  340 frames"));
    EXPECT_THAT(early.err, HasSubstr("beyond frame 170: truncated"));
}

TEST_F(ReplayCommandTest, TheReceiverCountsExactlyTheFramesWithAWrongCheckSequence) {
    const auto input = folder.file("in");
    std::vector<Frame> frames;
    for (unsigned number = 0; number < 1000; ++number)
        frames.push_back(
            numberedFrame(number, 20 + number * 7 % 1495)); // short and odd ones, and the longest
    writeCapture(input, frames);
    const struct {
        std::vector<std::string> options;
        unsigned wrong;
    } cases[] = {
        {{"--fcs", "host"}, 0}, {{"--bad-fcs", "10"}, 100}, {{"--bad-fcs", "1", "--fcs", "host"}, 1000}};
    for (const auto& row : cases) {
        SCOPED_TRACE(testing::PrintToString(row.options));
        std::vector<std::string> options{input, "--verify", "--json", "--crc-watch", "--wire", "0=port:0/1"};
        options.insert(options.end(), row.options.begin(), row.options.end());
        const auto outcome = replay(options);
        EXPECT_EQ(outcome.exitCode, 0);
        const auto report = json::parse(outcome.out);
        EXPECT_EQ(report["checkSequence"], json({{"madeBy", "host"}, {"wrong", row.wrong}}));
        EXPECT_EQ(report["sent"]["frames"], 1000);
        EXPECT_EQ(report["received"]["frames"], 1000 - row.wrong);
        EXPECT_EQ(report["lost"], 0);
        EXPECT_EQ(report["verification"]["identical"], 1000 - row.wrong);
        EXPECT_EQ(report["statistics"][1]["receiveErrors"], row.wrong);
        unsigned watched = 0;
        for (auto at = outcome.err.find("Detected "); at != std::string::npos;
             at = outcome.err.find("Detected ", at + 1))
            watched += static_cast<unsigned>(std::stoul(outcome.err.substr(at + 9)));
        EXPECT_EQ(watched, row.wrong) << outcome.err;
    }
    EXPECT_THAT(replay({input, "--verify", "--bad-fcs", "10"}).out,
                testing::AllOf(HasSubstr("spoiled   100 frames of these, with a wrong check sequence\n"),
                               HasSubstr("900 frames came back identical and in order, those with a wrong")));
    const auto script = writeFaults(folder, fault("fcs-flip", "every = 4") + fault("loss", "every = 7"));
    const auto faulty = replay({input, "--bad-fcs", "10", "--faults", script, "--time", "virtual"});
    EXPECT_EQ(faulty.exitCode, 0) << faulty.err;
}

TEST_F(ReplayCommandTest, ReadsStandardInputAndCompressedCaptures) {
    for (const char* command :
         {"cat \"$1\" | \"$0\" replay --no-reset -", "\"$0\" replay --no-reset - < \"$1\"",
          "gzip < \"$1\" | \"$0\" replay --no-reset -",
          "gzip < \"$1\" > \"$2\"; \"$0\" replay --no-reset --loop 2 \"$2\" --verify"}) {
        SCOPED_TRACE(command);
        const auto outcome =
            Process({"sh", "-c", command, ORVO_GIGE, visionCapture, folder.file("in")}).wait();
        EXPECT_EQ(outcome.exitCode, 0);
        EXPECT_EQ(outcome.err, "");
        EXPECT_THAT(outcome.out, testing::ContainsRegex("received  (1,400|2,800) frames"));
    }
}

TEST_F(ReplayCommandTest, TellsWhatDidNotComeBack) {
    const auto outcome = replay({lanCapture, "--verify", "--receive", "0/2", "--json"});
    EXPECT_EQ(outcome.exitCode, 3);
    const auto report = json::parse(outcome.out);
    EXPECT_EQ(report["receivingPort"], "0/2");
    EXPECT_EQ(report["lost"], 347);
    EXPECT_EQ(report["verification"]["differences"], json::parse(R"(["frames 1 to 347 did not come back"])"));
    EXPECT_EQ(replay({lanCapture, "--receive", "0/2"}).exitCode, 0) << "nobody demanded that all come back";
}

TEST_F(ReplayCommandTest, RefusesBadInputInOneLineAndTouchesNothing) {
    const auto cut = folder.file("cut"), copy = folder.file("copy"), empty = folder.file("empty"),
               pluginless = folder.file("pluginless"), timeless = folder.file("timeless"),
               simulator = folder.file("simulator.toml");
    writeFile(cut, contentOf(lanCapture).substr(0, 50));
    writeCapture(timeless, {Frame(60, 'a'), Frame(60, 'b')});
    std::filesystem::copy(lanCapture, copy);
    std::filesystem::create_directory(empty);
    std::filesystem::create_directory(pluginless);
    std::filesystem::copy(ORVO_BUILD_ROOT "/lib64", pluginless + "/lib64"); // without its folder plugins

    const char* firmwareWithoutChecksums =
        "[[firmware]]\nversion = \"1.0\"\nwithout = [\"GigeTxDisableCrcGeneration0\"]\n";
    const char* poorFirmware = "[[firmware]]\nversion = \"1.0\"\nwithout = [\"GigeWriteData0\"]\n";

    const struct {
        int exitCode;
        std::vector<std::string> arguments;
        std::string complaint;
        const char* board = ""; // what the simulator's file says
    } cases[] = {
        {1, {cut}, "'" + cut + "' beyond frame 0: truncated"},
        {1, {copy, "--write", folder.file("./copy")}, "is the capture that is to be sent"},
        {1, {lanCapture, "--write", folder.file("no/out")}, "No such file"},
        {1, {lanCapture, "--write", "/dev/full"}, "No space left on device"},
        {1, {lanCapture, "--write", folder.file("")}, "Is a directory"},
        {1, {lanCapture, "--wire", "0=pcap:" + copy, "--write", copy}, "the wire of port 0/0 plays '" + copy},
        {1,
         {copy, "--wire", "0=pcap:" + lanCapture + "," + copy},
         "the wire of port 0/0 records into '" + copy},
        {1, {lanCapture, "--board", "7", "--wire", "2=none"}, "7/2"},
        {1, {lanCapture, "--wire", "0=none"}, "0/0 has no link: nothing is plugged in"},
        {1, {lanCapture, "--root", empty}, "liborvo_hal.so'"},
        {1, {lanCapture, "--root", pluginless}, "liborvo-plugin-zume-phy-gige.so'"},
        {1, {lanCapture}, "board 0 has no GigE ports", "[[board]]\ncamera_interface = \"CoaXPress\"\n"},
        {1, {lanCapture}, "lacks the register(s) GigeWriteData0", poorFirmware},
        {1,
         {lanCapture, "--fcs", "host"},
         "lacks the register(s) GigeTxDisableCrc",
         firmwareWithoutChecksums},
        {1, {lanCapture, "--bad-fcs", "3"}, "leave --fcs and --bad-fcs out", firmwareWithoutChecksums},
        {2, {lanCapture, "--bad-fcs", "3", "--fcs", "board"}, "leave --fcs board or --bad-fcs out"},
        {2, {lanCapture, "--bad-fcs", "0"}, "--bad-fcs: '0' is not a whole number from 1"},
        {2, {"-", "--loop", "2"}, "standard input is not a regular file"},
        {2, {}, "IN is required"},
        {1, {timeless, "--pace", "recorded", "--loop", "0"}, "no time passes between the frames of"},
        {2, {lanCapture, "--board", "-1"}, "--board"},
        {2, {lanCapture, "--loop", "-1"}, "--loop: '-1' is not a whole number"},
        {2, {lanCapture, "--pace", "1e-300x"}, "a factor such as 2x (0.000001x to 1000000x)"},
        {2, {lanCapture, "--receive", "1"}, "'1' is not of the form BOARD/PORT"},
        {2, {lanCapture, "--wire", "0="}, "'0=' is not of the form"},
    };
    writeFile(output, "precious");
    for (const auto& row : cases) {
        writeFile(simulator, row.board);
        auto arguments = row.arguments;
        arguments.insert(arguments.begin(), {"replay", "--no-reset"});
        if (std::find(arguments.begin(), arguments.end(), "--write") == arguments.end())
            arguments.insert(arguments.end(), {"--write", output});
        expectRefusal(arguments, row.exitCode, row.complaint, {"ORVO_SIMULATOR_CONFIG=" + simulator});
        EXPECT_EQ(contentOf(output), "precious");
        EXPECT_TRUE(contentOf(copy) == contentOf(lanCapture));
    }
}

TEST_F(ReplayCommandTest, KeepsWhatFitsOnAFullDiskAndSaysWhenNobodyCanReadTheReport) {
    const std::pair<std::string, std::string> cases[] = {
        {"ulimit -f 512; exec \"$0\" replay --no-reset \"$1\" --write \"$2\"",
         "orvo-gige: cannot write '" + output + "': File too large; "},
        {"exec \"$0\" replay --no-reset \"$1\" > /dev/full", "standard output: No space left on device"}};
    for (const auto& [command, complaint] : cases) {
        const auto outcome = Process({"sh", "-c", command, ORVO_GIGE, visionCapture, output}).wait();
        EXPECT_EQ(outcome.exitCode, 1);
        EXPECT_THAT(outcome.err, HasSubstr(complaint));
    }
    EXPECT_GT(framesOf(output).size(), 100u);
    EXPECT_EQ(lastBlock(output).front(), 5);
}

TEST_F(ReplayCommandTest, EndsInOrderOnASignal) {
    const auto fifo = folder.file("fifo");
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    const int writing = open(fifo.c_str(), O_RDWR | O_CLOEXEC); // reading too: waits for no reader
    writeCapture(folder.file("in"), std::vector<Frame>(20, Frame(60, 'a')));
    const auto content = contentOf(folder.file("in"));
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        SCOPED_TRACE(number);
        ASSERT_EQ(write(writing, content.data(), content.size()), static_cast<ssize_t>(content.size()));
        writeFile(output, "replaced when traffic begins");
        Process process({ORVO_GIGE, "replay", "--no-reset", fifo, "--write", output, "--json"});
        process.reaches([&] { return !contentOf(output).starts_with("replaced"); });
        process.signal(number);
        const auto outcome = process.wait();
        EXPECT_EQ(outcome.exitCode, 128 + number);
        const auto report = json::parse(outcome.out);
        EXPECT_EQ(report["interrupted"], true);
        EXPECT_EQ(report["received"]["frames"], report["sent"]["frames"]);
        EXPECT_EQ(framesOf(output).size(), report["sent"]["frames"]);
        EXPECT_EQ(lastBlock(output).front(), 5);
    }
    close(writing);
}

TEST_F(ReplayCommandTest, SendsNothingOnceTheEndIsAskedFor) {
    writeCapture(folder.file("in"), std::vector<Frame>(3, Frame(60, 'a')));
    writeFile(output, "replaced when traffic begins");
    Process process({ORVO_GIGE, "replay", "--no-reset", folder.file("in"), "--write", output, "--json",
                     "--pace", "0.001"}); // frames per second: the second one waits
    process.reaches([&] { return !contentOf(output).starts_with("replaced"); });
    process.signal(SIGTERM);
    const auto outcome = process.wait();
    EXPECT_EQ(outcome.exitCode, 143);
    const auto report = json::parse(outcome.out);
    EXPECT_LE(report["sent"]["frames"], 1);
    EXPECT_EQ(report["read"]["frames"], report["sent"]["frames"]);
}

TEST_F(ReplayCommandTest, ALoopOverWhatCannotBeSentEnds) {
    writeCapture(folder.file("in"), {Frame(1515, 'a')});
    const auto outcome = replay({folder.file("in"), "--loop", "0"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_THAT(outcome.out, HasSubstr("sent      0 frames"));
}

TEST(PluginTest, WithoutAWatchForCrcErrorsSaysSo) {
    const TemporaryFolder root;
    std::filesystem::create_directories(root.file("lib64/plugins"));
    const Installation installation(root.file(""));
    std::filesystem::copy(ORVO_BUILD_ROOT "/tests/stubs/libstub-plugin.so", installation.plugin());
    Plugin plugin(installation);
    EXPECT_THAT([&] { plugin.watchCrcErrors(); }, testing::ThrowsMessage<Failure>(HasSubstr(
                                                      "has no watch for CRC errors; leave --crc-watch out")));
}

TEST(CommandLineTest, HelpAndVersionAreAnswersAndMistakesAreNot) {
    const std::pair<std::vector<std::string>, const char*> cases[] = {
        {{"--version"}, "orvo-gige 0"}, {{"--help"}, "replay"}, {{"replay", "--help"}, "--verify"}};
    for (const auto& [arguments, answer] : cases) {
        const auto outcome = runTool(arguments);
        EXPECT_EQ(outcome.exitCode, 0);
        EXPECT_THAT(outcome.out, HasSubstr(answer));
        EXPECT_EQ(outcome.err, "");
    }
    expectRefusal({}, 2, "a subcommand is required; see 'orvo-gige --help'");
}

} // namespace
} // namespace orvo::host
