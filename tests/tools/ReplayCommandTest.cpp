// `orvo-gige replay` as its users call it, on the simulated board; without the board's reset, which takes 5
// s.
#include "Process.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <sys/stat.h>
#include <unistd.h>

#include <functional>

namespace orvo::host {
namespace {

using namespace testing_support;
using nlohmann::json;
using testing::HasSubstr;

const std::string visionCapture = ORVO_TEST_DATA "/gige-vision.pcapng";
const std::string lanCapture = ORVO_TEST_DATA "/mixed-lan.pcap";

Outcome replay(std::vector<std::string> arguments, const std::vector<std::string>& variables = {},
               const std::string& out = "") {
    arguments.insert(arguments.begin(), {"replay", "--no-reset"});
    return runTool(std::move(arguments), variables, out);
}

Frame padded(Frame frame) {
    frame.resize(std::max<std::size_t>(60, frame.size() + frame.size() % 2));
    return frame;
}

// The type of a pcapng file's last block: 5 when it was closed with its statistics.
unsigned lastBlockType(const std::string& path) {
    const auto file = contentOf(path);
    const auto length = *reinterpret_cast<const std::uint32_t*>(file.data() + file.size() - 4);
    return *reinterpret_cast<const std::uint32_t*>(file.data() + file.size() - length);
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
            std::transform(expected.begin(), expected.end(), expected.begin(), padded);
            EXPECT_TRUE(framesOf(output) == expected);
        }
}

TEST_F(ReplayCommandTest, WritesWhatOtherToolsRead) {
    if (Process({"sh", "-c", "command -v tshark"}).wait().exitCode != 0)
        GTEST_SKIP() << "tshark is not installed";
    ASSERT_EQ(replay({visionCapture, "--write", output}).exitCode, 0);
    const auto seen =
        Process({"tshark", "-r", output, "-Y", "gvsp || gvcp", "-T", "fields", "-e", "frame.number"},
                {"HOME=" + folder.file("")})
            .wait();
    EXPECT_EQ(seen.exitCode, 0);
    EXPECT_THAT(seen.err, testing::Not(testing::ContainsRegex("[Ww]arning|damaged|cut short|[Ee]rror")));
    EXPECT_GT(std::count(seen.out.begin(), seen.out.end(), '\n'), 1000);
}

TEST_F(ReplayCommandTest, CountsWhatCannotBeSent) {
    writeCapture(folder.file("in"),
                 {Frame(60, 'a'), Frame(1515, 'b'), Frame(9000, 'c'), Frame(8, 'd'), Frame(70, 'e')});
    const auto outcome = replay({folder.file("in"), "--verify", "--json"});
    EXPECT_EQ(outcome.exitCode, 0);
    const auto report = json::parse(outcome.out);
    EXPECT_EQ(report["read"]["frames"], 5);
    EXPECT_EQ(report["sent"], json::parse(R"({"frames":2,"bytes":130})"));
    EXPECT_EQ(report["received"], report["sent"]);
    EXPECT_EQ(report["dropped"]["frames"], 3);
    EXPECT_EQ(report["dropped"]["reasons"][0]["frames"], 2);
    EXPECT_THAT(report["dropped"]["reasons"][0]["reason"], HasSubstr("longer than 1514 bytes"));
    EXPECT_EQ(report["verification"]["passed"], true);
    EXPECT_EQ(report["statistics"][0]["lines"][0], "Send - 2 frames (138 bytes)");
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
    const auto bad = folder.file("bad");
    const auto write = [&](const std::string& content) { return [=] { writeFile(bad, content); }; };
    const auto toml = [&](const std::string& text) {
        return [=, this] { writeFile(folder.file("toml"), text); };
    };
    const auto nothing = [] {};
    const auto lan = contentOf(lanCapture);
    const auto emptyRoot = folder.file("root");
    std::filesystem::create_directory(emptyRoot);
    const auto pluginless = folder.file("pluginless");
    std::filesystem::create_directory(pluginless);
    std::filesystem::copy(ORVO_BUILD_ROOT "/lib64", pluginless + "/lib64"); // without its folder plugins

    const struct {
        const char* what;
        std::function<void()> prepare;
        std::vector<std::string> arguments;
        int exitCode;
        std::string complaint;
    } cases[] = {
        {"no capture", nothing, {folder.file("none")}, 1, folder.file("none") + "': No such file"},
        {"empty", write(""), {bad}, 1, bad + "' is empty"},
        {"foreign", write("hello, this is no capture"), {bad}, 1, bad + "': unknown file format"},
        {"truncated", write(lan.substr(0, 100'000)), {bad}, 1, bad + "' beyond frame 170: truncated"},
        {"link type", [&] { writeCapture(bad, {Frame(60, 'a')}, DLT_RAW); }, {bad}, 1, "link type RAW"},
        {"no board",
         nothing,
         {lanCapture, "--board", "7"},
         1,
         "7/0 cannot be opened: Error in OHalInitDevice(...)"},
        {"no port", nothing, {lanCapture, "--port", "4"}, 1, "Port id '4' not available for board id '0'"},
        {"no receiver", nothing, {lanCapture, "--receive", "0/9"}, 1, "Port id '9' not available"},
        {"unknown wire", nothing, {lanCapture, "--wire", "0=rope"}, 1, "'rope'"},
        {"wire to nowhere", nothing, {lanCapture, "--wire", "0=port:5/5"}, 1, "'port:5/5'"},
        {"no link", nothing, {lanCapture, "--wire", "0=none"}, 1, "0/0 has no link: nothing is plugged in"},
        {"bad simulator file", toml("[[board]]\nports = 9\n"), {lanCapture}, 1, folder.file("toml") + ":2: "},
        {"other camera interface",
         toml("[[board]]\ncamera_interface = \"CoaXPress\"\n"),
         {lanCapture},
         1,
         "No GigE interface available for board id '0'"},
        {"poor firmware",
         toml("[[firmware]]\nversion = \"1.0\"\nwithout = [\"GigeWriteData0\"]\n"),
         {lanCapture},
         1,
         "lacks the register(s) GigeWriteData0"},
        {"no root",
         nothing,
         {lanCapture, "--root", folder.file("none")},
         1,
         "none' as installation: No such"},
        {"root without libraries", nothing, {lanCapture, "--root", emptyRoot}, 1, "liborvo_hal.so'"},
        {"root without plug-in",
         nothing,
         {lanCapture, "--root", pluginless},
         1,
         "liborvo-plugin-zume-phy-gige.so'"},
        {"output in no folder", nothing, {lanCapture, "--write", folder.file("no/out")}, 1, "No such file"},
        {"full device", nothing, {lanCapture, "--write", "/dev/full"}, 1, "No space left on device"},
        {"itself",
         write(lan),
         {bad, "--write", folder.file("./bad")},
         1,
         "is the capture that is to be sent"},
        {"no IN", nothing, {}, 2, "IN is required"},
        {"unknown option", nothing, {lanCapture, "--fast"}, 2, "--fast"},
        {"port no number", nothing, {lanCapture, "--port", "x"}, 2, "--port"},
        {"negative board", nothing, {lanCapture, "--board", "-1"}, 2, "--board"},
        {"receiver no port", nothing, {lanCapture, "--receive", "1"}, 2, "'1' is not of the form BOARD/PORT"},
        {"wire without port",
         nothing,
         {lanCapture, "--wire", "loopback"},
         2,
         "'loopback' is not of the form"},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.what);
        writeFile(folder.file("toml"), "");
        row.prepare();
        writeFile(output, "precious");
        auto arguments = row.arguments;
        if (std::find(arguments.begin(), arguments.end(), "--write") == arguments.end())
            arguments.insert(arguments.end(), {"--write", output});
        const auto outcome = replay(arguments, {"ORVO_SIMULATOR_CONFIG=" + folder.file("toml")});
        EXPECT_EQ(outcome.exitCode, row.exitCode);
        EXPECT_EQ(outcome.out, "");
        EXPECT_THAT(outcome.err, testing::MatchesRegex("orvo-gige: [^\n]*\n"));
        EXPECT_THAT(outcome.err, HasSubstr(row.complaint));
        EXPECT_EQ(contentOf(output), "precious");
    }
}

TEST_F(ReplayCommandTest, KeepsWhatFitsOnAFullDisk) {
    const Outcome outcome =
        Process({"sh", "-c", "ulimit -f 512; exec \"$0\" replay --no-reset \"$1\" --write \"$2\"", ORVO_GIGE,
                 visionCapture, output})
            .wait();
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_THAT(outcome.err, testing::MatchesRegex(
                                 "orvo-gige: cannot write '[^\n]*out.pcapng': File too large; [^\n]*\n"));
    EXPECT_GT(framesOf(output).size(), 100u);
    EXPECT_EQ(lastBlockType(output), 5u);
}

TEST_F(ReplayCommandTest, SaysWhenNobodyCanReadTheReport) {
    const auto outcome = replay({lanCapture}, {}, "/dev/full");
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_THAT(outcome.err, HasSubstr("standard output: No space left on device"));
}

TEST_F(ReplayCommandTest, EndsInOrderOnASignal) {
    const auto fifo = folder.file("fifo");
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    writeCapture(folder.file("in"), std::vector<Frame>(20, Frame(60, 'a')));
    for (const int number : {SIGINT, SIGTERM}) {
        SCOPED_TRACE(number);
        writeFile(output, "replaced when traffic begins");
        Process process({ORVO_GIGE, "replay", "--no-reset", fifo, "--write", output, "--json"});
        const int writing = open(fifo.c_str(), O_WRONLY | O_CLOEXEC); // waits for the reader
        const auto content = contentOf(folder.file("in"));
        ASSERT_EQ(write(writing, content.data(), content.size()), static_cast<ssize_t>(content.size()));
        while (contentOf(output).starts_with("replaced"))
            usleep(1000); // ends with the test's time-out at the latest
        process.signal(number);
        const auto outcome = process.wait();
        close(writing);
        EXPECT_EQ(outcome.exitCode, 128 + number);
        const auto report = json::parse(outcome.out);
        EXPECT_EQ(report["interrupted"], true);
        EXPECT_EQ(report["received"]["frames"], report["sent"]["frames"]);
        EXPECT_EQ(framesOf(output).size(), report["sent"]["frames"]);
        EXPECT_EQ(lastBlockType(output), 5u);
    }
}

TEST(CommandLineTest, HelpAndVersionAreAnswersAndMistakesAreNot) {
    const struct {
        std::vector<std::string> arguments;
        int exitCode;
        const char *out, *err;
    } cases[] = {
        {{"--version"}, 0, "orvo-gige 0", ""},
        {{"--help"}, 0, "replay", ""},
        {{"replay", "--help"}, 0, "--verify", ""},
        {{}, 2, "", "A subcommand is required; see 'orvo-gige --help'"},
        {{"reply"}, 2, "", "reply"},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(testing::PrintToString(row.arguments));
        const auto outcome = runTool(row.arguments);
        EXPECT_EQ(outcome.exitCode, row.exitCode);
        EXPECT_THAT(outcome.out, HasSubstr(row.out));
        EXPECT_THAT(outcome.err, HasSubstr(row.err));
        EXPECT_EQ(outcome.out.empty(), row.exitCode != 0);
        EXPECT_EQ(outcome.err.empty(), row.exitCode == 0);
    }
}

} // namespace
} // namespace orvo::host
