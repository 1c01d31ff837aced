// SPDX-License-Identifier: MIT
// Programs on the boards of a server, and what they say when it ends.
#include "Process.h"

#include <nlohmann/json.hpp>

#include <deque>
#include <optional>

namespace orvo::host {
namespace {

using namespace testing_support;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;
using Words = std::vector<std::string>;

class BoardServerTest : public testing::Test {
protected:
    void startServer(const Words& more = {}) {
        Words command = {ORVO_GIGE, "simulate", "--name", socket, "--wire", "0=port:0/1"};
        command.insert(command.end(), more.begin(), more.end());
        server.emplace(command);
        ASSERT_TRUE(server->says("ready"));
    }

    const TemporaryFolder folder;
    const std::string socket = folder.file("sock");
    const Words environment = {"ORVO_BOARD=" + socket};
    const std::string greeting = "orvo-gige: using the simulated boards of the server at " + socket + "\n";
    std::optional<Process> server;
};

TEST_F(BoardServerTest, ProgramsSayWhoseBoardsTheyUse) {
    startServer();
    const auto kindOf = [](const Outcome& doctor) {
        const auto report = nlohmann::json::parse(doctor.out);
        for (const auto& check : report["checks"])
            if (check["check"] == "kind of board") return check["found"].get<std::string>();
        return std::string();
    };
    const auto shared = runTool({"boards", "--json"}, environment);
    EXPECT_EQ(shared.err, greeting);
    EXPECT_EQ(nlohmann::json::parse(shared.out)["server"], socket);
    EXPECT_EQ(kindOf(runTool({"doctor", "--json"}, environment)),
              "simulated, held by the server at " + socket);

    EXPECT_EQ(runTool({"--extcap-interfaces"}, environment).err, "") << "an analyser takes it for a failure";

    const Words own = {"ORVO_BOARD=own"};
    EXPECT_EQ(runTool({"boards"}, own).err, "");
    EXPECT_THAT(kindOf(runTool({"doctor", "--json"}, own)), StartsWith("simulated, own, "));
}

TEST_F(BoardServerTest, StatusTellsLineRatesAndFaults) {
    startServer({"--line-rate", "negotiated"});
    const auto faults = writeFaults(folder, fault("loss", "at = 1"));
    for (const std::string& script : {faults, std::string("off")}) {
        EXPECT_EQ(runTool({"sim", "faults", script}, environment).exitCode, 0);
        const auto status = nlohmann::json::parse(runTool({"sim", "status", "--json"}, environment).out);
        EXPECT_EQ(status["ports"][1]["faults"], script == faults);
        EXPECT_EQ(status["ports"][1]["lineRate"], true);
        EXPECT_THAT(runTool({"sim", "status"}, environment).out,
                    EndsWith(std::string(script == faults ? "\nboard 0: faults of a script are active" : "") +
                             "\nboard 0: frames take their time on the wire\n"));
    }
}

TEST_F(BoardServerTest, AServerThatDoesNotAnswerIsNamedWithTheWayToStartIt) {
    expectRefusal({"boards"}, 1, "no server answers at " + socket + "; start it with: ", environment);
    expectRefusal({"sim", "unplug", "0/1", "--json", "--seed", "1"}, 2,
                  "--seed, --json are not for 'sim unplug'; leave them out", environment);
    const Words named = {"ORVO_BOARD=nobody", "XDG_RUNTIME_DIR=" + folder.file("")};
    const auto outcome = runTool({"boards"}, named);
    EXPECT_THAT(outcome.err,
                testing::MatchesRegex("orvo-gige: no server 'nobody' answers at /.*/nobody.sock; "
                                      "start it with: orvo-gige simulate --name nobody, or set "
                                      "ORVO_BOARD=own\n"));
    EXPECT_THAT(runTool({"doctor"}, named).out, HasSubstr("orvo-gige simulate --name nobody"));
}

TEST_F(BoardServerTest, ProgramsOfAKilledServerEndWithOneLine) {
    startServer();
    const std::string loss =
        "orvo-gige: the server of the simulated boards has ended or does not answer; start it again: "
        "orvo-gige simulate --name " +
        socket + "\n";
    const struct {
        Words command;
        const char* ready;
    } programs[] = {
        {{"capture", "-p", "1", "--no-reset"}, "capturing at port 0/1"},
        {{"events", "-p", "2", "--no-reset"}, "waiting for events"},
        {{"replay", ORVO_TEST_DATA "/mixed-lan.pcap", "--loop", "0", "--pace", "1000", "--no-reset"},
         "using"},
        {{"watch", "--json", "--interval", "60"}, "using"},
    };
    std::deque<Process> running;
    for (const auto& [command, ready] : programs) {
        Words words = command;
        words.insert(words.begin(), ORVO_GIGE);
        auto& program = running.emplace_back(words, environment);
        ASSERT_TRUE(program.says(ready));
    }
    server->signal(SIGKILL);
    for (auto& program : running) {
        const auto outcome = program.wait();
        EXPECT_EQ(outcome.exitCode, 1);
        EXPECT_THAT(outcome.err, StartsWith(greeting));
        EXPECT_THAT(outcome.err, EndsWith(loss));
    }
}

} // namespace
} // namespace orvo::host
