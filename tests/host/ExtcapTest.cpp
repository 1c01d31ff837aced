// SPDX-License-Identifier: MIT
// `orvo-gige` as Wireshark and tshark call it.
#include "PipeReader.h"
#include "Process.h"

#include <gmock/gmock.h>

#include <filesystem>

namespace orvo::host {
namespace {

using namespace testing_support;
using testing::HasSubstr;

TEST(ExtcapTest, AnswersTheAnalysersQuestions) {
    const auto interfaces = runTool({"--extcap-interfaces", "--extcap-version=4.0"});
    EXPECT_EQ(interfaces.exitCode, 0) << interfaces.err;
    EXPECT_THAT(interfaces.out, testing::StartsWith("extcap {version="));
    for (const char* port : {"0", "1", "2", "3"})
        EXPECT_THAT(interfaces.out, HasSubstr("interface {value=orvo-0-" + std::string(port) + "}{display="));
    const auto ask = [](const std::vector<std::string>& question) {
        std::vector<std::string> call = {"--extcap-interface", "orvo-0-3"};
        call.insert(call.end(), question.begin(), question.end());
        return runTool(call).out;
    };
    EXPECT_EQ(ask({"--extcap-dlts"}), "dlt {number=1}{name=EN10MB}{display=Ethernet}\n");
    EXPECT_THAT(ask({"--extcap-config"}), testing::StartsWith("arg {number=0}{call=--no-reset}"));
    EXPECT_THAT(ask({"--extcap-capture-filter", "udp prt 1"}), HasSubstr("udp prt 1"));
    expectRefusal({"boards", "--extcap-interfaces"}, 2, "boards --help");
    expectRefusal({"lab", "--", "no-such-program", "--capture"}, 2, "there is no program 'no-such-program'");
    expectRefusal({"--extcap-interface", "eth0", "--extcap-dlts"}, 2, "there is no capture interface 'eth0'");
    expectRefusal({"--extcap-interface", "orvo-0-0", "--capture"}, 2, "--capture needs a pipe");
    expectRefusal({"--extcap-interface", "orvo-0-0", "--capture", "--fifo", "/none/fifo"}, 1,
                  "cannot write to '/none/fifo'");
}

// The analyser makes the pipe, starts the program, reads what comes, and closes the pipe when it has enough.
TEST(ExtcapTest, CapturesIntoTheAnalysersPipe) {
    const TemporaryFolder folder;
    ReadingPipe fifo(folder.file("fifo"));
    std::vector<Frame> sent;
    for (unsigned i = 0; i < 20; ++i) sent.push_back(numberedFrame(i, 60 + 4 * i));
    writeCapture(folder.file("in"), sent);
    writeFile(folder.file("board.toml"), "[[board]]\nwires.1 = \"pcap:" + folder.file("in") + "\"\n");
    Process process({ORVO_GIGE, "--capture", "--extcap-interface", "orvo-0-1", "--fifo", fifo.path(),
                     "--no-reset", "--extcap-capture-filter", "greater 72"},
                    {"ORVO_SIMULATOR_CONFIG=" + folder.file("board.toml")});
    const auto seen = fifo.readUntil(sent.back(), process);
    fifo.close();
    const auto outcome = process.wait();
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.err, "") << "the analyser takes it for a failure";
    writeFile(folder.file("seen"), seen);
    EXPECT_EQ(framesOf(folder.file("seen")), std::vector<Frame>(sent.begin() + 3, sent.end()));
}

TEST(ExtcapTest, InstallsALinkAndTakesItAway) {
    const TemporaryFolder folder;
    const auto link = folder.file("extcap/orvo-gige");
    const auto call = [&](const char* action) {
        const auto outcome = runTool({"extcap", action, "--folder", folder.file("extcap")});
        EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
        return outcome.out;
    };
    call("install");
    EXPECT_THAT(call("install"), HasSubstr(" is installed"));
    EXPECT_THAT(Process({link, "--extcap-interfaces"}).wait().out, HasSubstr("orvo-0-0"));
    EXPECT_THAT(call("remove"), HasSubstr(" is removed"));
    EXPECT_THAT(call("remove"), HasSubstr("nothing to remove"));
    EXPECT_FALSE(std::filesystem::exists(link));
    writeFile(link, "somebody else's");
    expectRefusal({"extcap", "install", "--folder", folder.file("extcap")}, 1, "not a link to this program");
    std::filesystem::remove(link);
    std::filesystem::create_symlink("/opt/other", link);
    expectRefusal({"extcap", "remove", "--folder", folder.file("extcap")}, 1, "not a link to this program");
}

TEST(ExtcapTest, InstallsWhereTheAnalyserSaysForTheWholeMachineOnlyAsRoot) {
    const TemporaryFolder folder;
    const auto own = folder.file("own"), everybodys = folder.file("all");
    writeFile(folder.file("tshark"), "#!/bin/sh\necho 'Personal Extcap path:\t" + own +
                                         "'\necho 'Global Extcap path:\t" + everybodys + "'\n");
    std::filesystem::permissions(folder.file("tshark"), std::filesystem::perms::owner_all);
    const auto path = "PATH=" + folder.file("") + ":" + std::getenv("PATH");
    const auto outcome = Process({"env", path, ORVO_GIGE, "extcap", "install"}).wait();
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    EXPECT_TRUE(std::filesystem::is_symlink((geteuid() == 0 ? everybodys : own) + "/orvo-gige"));
}

} // namespace
} // namespace orvo::host
