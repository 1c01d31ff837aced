// SPDX-License-Identifier: MIT
// `orvo-gige reinitialize`: the device released for a command, and open again however that ends.
#include "Process.h"

#include <nlohmann/json.hpp>

namespace orvo::host {
namespace {

using namespace testing_support;
using nlohmann::json;
using testing::HasSubstr;
using testing::MatchesRegex;

std::size_t occurrences(const std::string& text, const std::string& part) {
    std::size_t found = 0;
    for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++found;
    return found;
}

TEST(ReinitializeTest, RunsTheCommandMeanwhileAndOpensTheDeviceHoweverItEnds) {
    const auto plain = runTool({"reinitialize"});
    EXPECT_EQ(plain.exitCode, 0) << plain.err;
    EXPECT_THAT(plain.out,
                MatchesRegex("port 0/0: released in [0-9.]+ s, opened again in [0-9.]+ s \\(1 attempt\\)\n"));
    const struct {
        const char* command;
        int exitCode, commandCode;
    } cases[] = {{"echo flashed", 0, 0}, {"exit 7", 1, 7}, {"kill -9 $$", 1, 137}};
    for (const auto& row : cases) {
        SCOPED_TRACE(row.command);
        const auto outcome =
            runTool({"reinitialize", "--port", "1", "--json", "--", "sh", "-c", row.command});
        EXPECT_EQ(outcome.exitCode, row.exitCode) << outcome.err;
        const auto report = json::parse(outcome.out); // the command's own output is not in it
        EXPECT_EQ(report["port"], "0/1");
        EXPECT_EQ(report["command"]["exitCode"], row.commandCode);
        EXPECT_EQ(report["attempts"], 1);
        EXPECT_EQ(occurrences(outcome.err, "ended with exit code " + std::to_string(row.commandCode)),
                  row.exitCode == 0 ? 0U : 1U);
    }
    expectRefusal({"reinitialize", "--", "no-such-program"}, 1, "no program 'no-such-program'");
}

class ReopeningTest : public testing::Test {
protected:
    /// A command during which the board vanishes: one second after the port was set up.
    std::vector<std::string> reinitializeWithout(const std::string& forMs) {
        const auto script =
            writeFaults(folder, fault("board-gone", "after_write = 'GigeTxDisableCrcGeneration0'\nvalue = 0\n"
                                                    "at_ms = 1000\nfor_ms = " +
                                                        forMs));
        return {ORVO_GIGE, "reinitialize", "--json", "--faults", script, "--", "sleep", "1.2"};
    }
    TemporaryFolder folder;
};

TEST_F(ReopeningTest, TriesAgainEverySecondAndSaysWhyOnce) {
    const auto outcome = Process(reinitializeWithout("2500")).wait();
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    EXPECT_GE(json::parse(outcome.out)["attempts"], 2);
    EXPECT_EQ(occurrences(outcome.err, "cannot be opened again"), 1U) << outcome.err;
}

TEST_F(ReopeningTest, ASignalEndsTheAttempts) {
    Process process(reinitializeWithout("600000"));
    process.says("cannot be opened again");
    process.signal(SIGTERM);
    EXPECT_EQ(process.wait().exitCode, 143);
}

} // namespace
} // namespace orvo::host
