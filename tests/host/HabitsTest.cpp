// SPDX-License-Identifier: MIT
// What all subcommands do alike: refusals and their exit codes, short options, help, and readers that go
// away.
#include "Process.h"
#include "base/Failure.h"
#include "cli/HelpText.h"
#include "commands/HostProgram.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <fcntl.h>
#include <unistd.h>

#include <map>
#include <sstream>

namespace orvo::host {
namespace {

using namespace testing_support;
using testing::HasSubstr;
using Words = std::vector<std::string>;

const std::string lanCapture = ORVO_TEST_DATA "/mixed-lan.pcap";
constexpr const char* allMessages = "ORVO_LOG=*=2";
constexpr const char* messageOfReset = "Resetting GigE hardware on board";

class HabitsTest : public testing::Test {
protected:
    HabitsTest() { writeFile(output, "precious"); }

    /// The last line must be the complaint, and the board must not have been reset.
    void expectEarlyRefusal(const Words& words, int exitCode, const std::string& complaint,
                            Words environment = {}) const {
        SCOPED_TRACE(testing::PrintToString(words));
        environment.emplace_back(allMessages);
        const auto outcome = runTool(words, environment);
        EXPECT_EQ(outcome.exitCode, exitCode);
        EXPECT_EQ(outcome.out, "");
        EXPECT_THAT(outcome.err, testing::Not(HasSubstr(messageOfReset)));
        const auto begin = outcome.err.rfind("orvo-gige: ");
        ASSERT_NE(begin, std::string::npos) << outcome.err;
        EXPECT_THAT(outcome.err.substr(begin), HasSubstr(complaint));
        EXPECT_EQ(outcome.err.find('\n', begin), outcome.err.size() - 1);
        EXPECT_EQ(contentOf(output), "precious");
    }

    const TemporaryFolder folder;
    const std::string output = folder.file("out"), none = folder.file("none");
};

TEST_F(HabitsTest, AnErrorNamesTheWrongWordAndTheNearestRightOne) {
    const std::pair<Words, const char*> cases[] = {
        {{"brigde"}, "unknown subcommand 'brigde'; did you mean 'bridge'?"},
        {{"xyz"}, "unknown subcommand 'xyz'; see 'orvo-gige --help'"},
        {{"--jsn", "boards"}, "unknown option '--jsn'; did you mean '--json'?"},
        {{"--root", "boards"}, "a subcommand is required"},
        {{"--json", "completion", "bash"}, "unknown option '--json'; see 'orvo-gige completion --help'"},
        {{"replay", lanCapture, "--prot", "1"}, "unknown option '--prot'; did you mean '--port'?"},
        {{"replay", lanCapture, "--prot=1"}, "unknown option '--prot'; did you mean '--port'?"},
        {{"reset", "-port", "1"}, "unknown option '-port'; did you mean '--port'?"},
        {{"reset", "-x"}, "unknown option '-x'; see 'orvo-gige reset --help'"},
        {{"capture", "-w", output, "--time", "virtual"}, "--time requires --board-recording; see"},
        {{"bridge", "--tap", "x", "--time", "virtual"}, "unknown option '--time'; see"},
        {{"watch", "--time", "virtual"}, "unknown option '--time'; see"},
        {{"lab", "ls", "-l"}, "unknown option '-l'; an option in COMMAND... stands behind '--'"},
        {{"extcap", "instal"}, "'instal' is not one of install, remove; did you mean 'install'?"},
        {{"reset", "--time", "vitual"},
         "--time: 'vitual' is not one of real, virtual; did you mean 'virtual'?"},
        {{"replay"}, "IN is required"},
        {{"replay", lanCapture, "-w"}, "option '-w' needs a value, OUT"},
        {{"replay", lanCapture, "-w", "--json"},
         "but '--json' follows; if that is the value, write '--write=--json'"},
        {{"replay", "--write=", lanCapture}, "--write: the file name is empty"}, // takes no neighbour
        {{"boards", "--json=yes"}, "option '--json' takes no value, but '--json=yes'"},
        {{"replay", lanCapture, "other"}, "unexpected argument 'other'; see"},
        {{"replay", "--", "-a", "--json"}, "unexpected argument '--json'; see"},
        {{"boards", "boards"}, "unexpected argument 'boards'"},
        {{"reset", "--board", "1", "-b", "2"}, "option '-b' is given twice, the second time with '2'"},
        {{"reset", "-b", "1", "-p", "0/2"}, "--port: '0/2' is on board 0, but --board is 1"},
        {{"reset", "-p", "0/2", "-b", "1"}, "--port: '0/2' is on board 0, but --board is 1"},
        {{"reset", "-p", "0/"}, "--port: '0/' is not of the form"},
        {{"reset", "-p", "-1"}, "--port: '-1' is not of the form"},
        {{"capture", "-w", output, "-c", "10k"}, "--count: '10k' is not a whole number"},
        {{"capture", "-w", output, "-d", "5s"}, "--duration: '5s' is not a number of seconds"},
        {{"capture", "-w", output, "--filter", "udp and prt 3"}, "'udp and prt 3' does not compile"},
        {{"capture", "-w", output, "--seed", "3"}, "--seed requires --faults"},
        {{"reset", "--wire", "rope"}, "--wire: 'rope' is not of the form"},
    };
    for (const auto& [words, complaint] : cases) expectEarlyRefusal(words, WrongUsage, complaint);
}

TEST_F(HabitsTest, TheSameFaultIsRefusedAlikeEverywhereBeforeTheReset) {
    const auto simulator = folder.file("simulator.toml"), script = folder.file("script.toml");
    writeFile(simulator, "[[board]]\nports = 9\n");
    writeFile(script, "[[fault]]\nkind = 'los'\n");
    const Words commands[] = {{"boards"},
                              {"watch"},
                              {"replay", lanCapture, "--write", output},
                              {"capture", "--write", output},
                              {"diagnose", "--html", output},
                              {"reset"}};
    const struct {
        Words options;
        std::string complaint;
        std::size_t first = 0; // of the commands that take these options
        Words environment = {};
    } faults[] = {
        {{"--root", none}, "cannot use '" + none + "' as installation"},
        {{"--root", output}, "cannot use '" + output + "' as installation: Not a directory"},
        {{"--wire", "0=rope"}, "cannot cable port 0/0 with 'rope'"},
        {{"--wire", "7/2=none"}, "cannot cable port 7/2 with 'none': there is no port"},
        {{}, simulator + ":2: ", 0, {"ORVO_SIMULATOR_CONFIG=" + simulator}},
        {{"-b", "7"}, "there is no board 7", 1},
        {{"-p", "9"}, "there is no port 9 on board 0", 2},
        {{"-p", "7/0"}, "there is no board 7", 2},
        {{"--faults", script}, script + ":2: ", 2},
        {{"--faults", none}, none + ": cannot be read: No such file", 2},
    };
    for (const auto& fault : faults)
        for (auto i = fault.first; i < std::size(commands); ++i) {
            auto words = commands[i];
            words.insert(words.end(), fault.options.begin(), fault.options.end());
            expectEarlyRefusal(words, Failed, fault.complaint, fault.environment);
        }
}

TEST_F(HabitsTest, BadFilesAreRefusedBeforeTheReset) {
    const auto directory = folder.file(""), lost = folder.file("no/out"), copy = folder.file("copy");
    std::filesystem::copy(lanCapture, copy);
    const std::pair<Words, std::string> cases[] = {
        {{"replay", none}, "'" + none + "'"},
        {{"replay", directory}, "'" + directory + "'"},
        {{"replay", output}, "'" + output + "'"}, // no capture
        {{"replay", copy, "-w", copy}, "'" + copy + "' is the capture that is to be sent"},
        {{"replay", copy, "--receive", "0/9"}, "there is no port 9 on board 0"},
        {{"replay", copy, "--wire", "0=pcap:" + lanCapture + "," + copy}, "records into '" + copy},
        {{"replay", copy, "-w", lost}, "'" + lost + "': No such file"},
        {{"replay", copy, "-w", directory}, "'" + directory + "': Is a directory"},
        {{"capture", "-w", lost}, "'" + lost + "': No such file"},
        {{"capture", "-w", directory}, "'" + directory + "': Is a directory"},
        {{"capture", "-w", copy, "--wire", "0=pcap:" + copy}, "the wire of port 0/0 plays '" + copy},
        {{"diagnose", "--html", lost}, "'" + lost + "': No such file"},
        {{"diagnose", "--html", directory}, "it is not a regular file"},
        {{"diagnose", "--bundle", lost + ".zip"}, "'" + lost + ".zip': No such file"},
        {{"diagnose", "--html", copy, "--bundle", copy}, "are both to be '" + copy},
        {{"diagnose", "--diff", none}, "cannot read '" + none + "': No such file"},
        {{"diagnose", "--diff", directory}, "cannot read '" + directory},
        {{"diagnose", "--diff", copy}, "'" + copy + "' is not a diagnosis"},
    };
    for (const auto& [words, complaint] : cases) expectEarlyRefusal(words, Failed, complaint);
    EXPECT_TRUE(contentOf(copy) == contentOf(lanCapture));
    EXPECT_THAT(runTool({"replay", lanCapture, "--time", "virtual"}, {allMessages}).err,
                HasSubstr(messageOfReset))
        << "the message that the refusals are tested by";
}

TEST_F(HabitsTest, SharedOptionsStandBeforeOrBehindTheSubcommand) {
    const std::string root = ORVO_BUILD_ROOT;
    const auto expected = runTool({"boards", "--json", "--root", root});
    EXPECT_EQ(nlohmann::json::parse(expected.out)["root"], root);
    for (const auto& words :
         {Words{"--json", "boards", "--root=" + root}, Words{"--root", root, "--json", "boards"},
          Words{"--root=" + root, "boards", "--json"}})
        EXPECT_EQ(runTool(words).out, expected.out) << testing::PrintToString(words);
    for (const auto& words : {Words{"-p0/2"}, Words{"-p", "0/2", "-b", "0"}}) {
        auto command = words;
        command.insert(command.begin(), {"reset", "--time", "virtual", "--json"});
        EXPECT_EQ(nlohmann::json::parse(runTool(command).out)["port"], "0/2")
            << testing::PrintToString(words);
    }
}

TEST_F(HabitsTest, OptionsHaveTheSameShortNamesAndHelpKeepsToTheWidth) {
    const std::map<std::string, std::string> shortNames = {
        {"--board", "-b"}, {"--port", "-p"}, {"--write", "-w"}, {"--count", "-c"}, {"--duration", "-d"}};
    const auto program = HostProgram().line.description();
    const auto expectWidth = [&](const CommandDescription& command, std::size_t width) {
        std::istringstream lines(helpText(program, command, width));
        for (std::string line; std::getline(lines, line);) EXPECT_LE(line.size(), width) << line;
    };
    for (const auto& command : program.subcommands) {
        SCOPED_TRACE(command.name);
        for (const auto& option : command.options)
            if (shortNames.contains(option.names.back())) {
                EXPECT_EQ(option.names.front(), shortNames.at(option.names.back()));
            }
        for (const std::size_t width : {40U, 80U, 200U}) expectWidth(command, width);
    }
    expectWidth(program, 60);
    EXPECT_THAT(runTool({"--help"}, {"COLUMNS=60"}).out,
                HasSubstr("\n  replay        Send every frame of a capture through a\n"
                          "                port, and receive what comes back\n"));
}

// Standard output is a pipe without reader, so that the first write finds it gone.
TEST_F(HabitsTest, AReaderThatGoesAwayIsAQuietEndAndAFullDiskIsNot) {
    int pipe[2];
    constexpr int inherited = 9;
    ASSERT_EQ(::pipe2(pipe, O_CLOEXEC), 0);
    ASSERT_EQ(dup2(pipe[1], inherited), inherited);
    close(pipe[0]);
    close(pipe[1]);
    const std::pair<Words, int> cases[] = {
        {{"--help"}, Done},
        {{"--version"}, Done},
        {{"boards"}, Done},
        {{"watch", "--json"}, Done}, // would go on for ever
        {{"watch"}, Done},
        {{"config", "show"}, Done},
        {{"completion", "bash"}, Done},
        {{"reset", "--time", "virtual"}, Done},
        {{"diagnose", "--time", "virtual", "--json"}, Done},
        {{"doctor", "--root", none}, DifferencesFound},
        {{"replay", lanCapture, "--no-reset"}, Done},
        {{"replay", lanCapture, "--no-reset", "--verify", "--receive", "0/2"}, DifferencesFound},
        {{"capture", "--no-reset", "-w", folder.file("captured"), "-d", "0.1"}, Done},
        {{"capture", "--no-reset", "-w", "-", "--wire", "0=pcap:" + lanCapture}, Done},
    };
    for (const auto& [words, exitCode] : cases) {
        SCOPED_TRACE(testing::PrintToString(words));
        Words command = {"sh", "-c", R"(exec "$0" "$@" >&9)", ORVO_GIGE};
        command.insert(command.end(), words.begin(), words.end());
        const auto outcome = Process(command).wait();
        EXPECT_EQ(outcome.exitCode, exitCode);
        EXPECT_THAT(outcome.err, testing::Not(HasSubstr("cannot write")));
        command[2] = R"(exec "$0" "$@" >/dev/full)";
        const auto full = Process(command).wait();
        EXPECT_EQ(full.exitCode, Failed);
        EXPECT_THAT(full.err, HasSubstr("No space left on device"));
    }
    close(inherited);
}

} // namespace
} // namespace orvo::host
