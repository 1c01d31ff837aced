// SPDX-License-Identifier: MIT
// Fault scripts: what they say, what is said about bad ones, and whose turn it is.
#include "process/Simulation.h"

#include <gmock/gmock.h>

#include <fstream>
#include <sstream>

namespace {

using namespace orvo::sim;
using testing::ElementsAre;

/// The occurrences, of `count`, at which the fault happens.
std::vector<int> turnsOf(const std::string& when, std::uint64_t seed = 1, int count = 12) {
    const auto script = parseFaultScript("[[fault]]\nkind = 'loss'\n" + when, "script");
    ScriptedFault fault(script.faults.at(0), seed, SimTime::zero(),
                        script.faults[0].when.armedBy.empty() ? 0 : 8);
    std::vector<int> turns;
    for (int occurrence = 1; occurrence <= count; ++occurrence) {
        if (occurrence == 5) fault.noteWrite(8, 3, std::chrono::milliseconds(5));
        if (fault.occurs(std::chrono::milliseconds(occurrence))) turns.push_back(occurrence);
    }
    return turns;
}

TEST(FaultScriptTest, FaultsTakeTheirTurns) {
    EXPECT_THAT(turnsOf("at = 3"), ElementsAre(3));
    EXPECT_THAT(turnsOf("every = 5"), ElementsAre(5, 10));
    EXPECT_THAT(turnsOf("every = 2\nfrom = 4\nto = 8\ntimes = 2"), ElementsAre(5, 7));
    EXPECT_THAT(turnsOf("from_ms = 3\nto_ms = 4"), ElementsAre(3, 4));
    EXPECT_THAT(turnsOf("after_write = 'GigE_Reset'\nvalue = 3\nto = 2"), ElementsAre(5, 6));
    EXPECT_THAT(turnsOf("after_write = 'GigE_Reset'\nvalue = 3\nfrom_ms = 4"), ElementsAre(9, 10, 11, 12));
    EXPECT_THAT(turnsOf("rate = 0"), ElementsAre());
    EXPECT_EQ(turnsOf("rate = 1.0").size(), 12U);
    EXPECT_NEAR(static_cast<double>(turnsOf("rate = 0.1", 1, 10'000).size()), 1000, 100);
    EXPECT_EQ(turnsOf("rate = 0.1", 7, 1000), turnsOf("rate = 0.1", 7, 1000));
    EXPECT_NE(turnsOf("rate = 0.1", 7, 1000), turnsOf("rate = 0.1", 8, 1000));
}

TEST(FaultScriptTest, MomentsComeOnce) {
    const auto script =
        parseFaultScript("[[fault]]\nkind = 'link-flap'\nat_ms = 5\nevery_ms = 10\ntimes = 3\n", "");
    ScriptedFault fault(script.faults.at(0), 1, std::chrono::seconds(1), 0);
    std::vector<int> moments;
    for (int ms : {4, 5, 6, 14, 40, 44, 45, 46, 55})
        if (fault.isDue(std::chrono::milliseconds(1000 + ms))) moments.push_back(ms);
    EXPECT_THAT(moments, ElementsAre(5, 40, 45)); // those missed in a jump come once
}

TEST(FaultScriptTest, BadScriptsAreRefusedWithLineAndReason) {
    const std::string fault = "[[fault]]\n", loss = fault + "kind = 'loss'\n";
    const std::tuple<std::string, int, const char*> cases[] = {
        {"fault = 'open\n", 1, "."},
        {"faults = 1\n", 1, "unknown key 'faults' in the file; it may have fault"},
        {"[fault]\n", 1, "must be a list of tables, each begun with \\[\\[fault\\]\\]"},
        {loss + fault, 3, "a \\[\\[fault\\]\\] needs a kind; there are fcs-flip, bit-error, "},
        {fault + "kind = 'lost'\n", 2, "unknown kind of fault 'lost'; there are fcs-flip"},
        {loss + "port = 4\n", 3, "'port' in .* from 0 to 3"},
        {loss + "port = '0/1'\n", 3, "'port' in .* must be a whole number from 0 to 3"},
        {loss + "at = 0\n", 3, "'at' in .* must be a whole number of 1 or more"},
        {loss + "at = 5\nrate = 0.5\n", 4, "'rate' says when, and so does 'at'; leave it out"},
        {loss + "rate = 1.5\n", 3, "'rate' in .* must be a number from 0 to 1"},
        {loss + "rate = nan\n", 3, "'rate' in .* must be a number from 0 to 1"},
        {loss + "from = 5\nto = 4\n", 4, "'to' lies before 'from'"},
        {loss + "from_ms = 5\nto_ms = 4\n", 4, "'to_ms' lies before 'from_ms'"},
        {fault + "kind = 'link-flap'\nat_ms = 6\nto_ms = 5\n", 3, "'at_ms' lies behind 'to_ms'"},
        {loss + "after_write = ''\nvalue = 1\n", 3, "'after_write' names no register"},
        {loss + "at_ms = 1\n", 3, "'at_ms' has no meaning for loss, which counts frames on the wire"},
        {loss + "for_ms = 1\n", 3, "'for_ms' has no meaning for loss; leave it out"},
        {loss + "direction = 'up'\n", 3, "'direction' must be \"sent\""},
        {loss + "value = 1\n", 3, "'value' goes with 'after_write'"},
        {loss + "after_write = 'GigE_Reset'\n", 3, "'after_write' needs the 'value'"},
        {loss + "colour = 1\n", 3, "unknown key 'colour' in \\[\\[fault\\]\\]"},
        {fault + "kind = 'overflow'\ndirection = 'sent'\n", 3, "'direction' has no meaning for overflow"},
        {fault + "kind = 'link-flap'\nat_ms = 1\nat = 2\n", 4, "'at' counts frames, but 'at_ms'"},
        {fault + "kind = 'register-failed'\n", 2, "register-failed needs a 'register'"},
        {fault + "kind = 'read-failed'\nresult = 1\n", 3, "'result' in .* from -1000000 to -1"},
        {fault + "kind = 'read-failed'\nresult = -2120\n", 3, "-2120 means an empty queue"},
    };
    for (const auto& [text, line, reason] : cases) {
        SCOPED_TRACE(text);
        const auto message = "bad.toml:" + std::to_string(line) + ": [^\n]*" + reason + "[^\n]*";
        EXPECT_THAT([&text = text] { parseFaultScript(text, "bad.toml"); },
                    testing::ThrowsMessage<ConfigurationError>(testing::MatchesRegex(message)));
    }
}

TEST(FaultScriptTest, GuideHasEveryKindAndItsExampleIsAScript) {
    std::stringstream guide;
    guide << std::ifstream(FAULT_GUIDE).rdbuf();
    const auto text = guide.str();
    for (const auto& row : faultKindRows) {
        const auto line = std::string("| `") + row.name + "` | " + row.does + " | " + textOf(row.point) +
                          " | " + textOf(row.evidence) + " |";
        EXPECT_THAT(text, testing::HasSubstr(line));
    }
    const auto begin = text.find("```toml\n") + 8;
    EXPECT_GT(
        parseFaultScript(text.substr(begin, text.find("```", begin) - begin), FAULT_GUIDE).faults.size(), 4U);
}

/// Programs read queues from shared memory only while the board is plain.
TEST(FaultScriptTest, ABoardIsPlainOnceItsScriptIsOverAndTheAccountStaysRight) {
    Simulation simulation(defaultConfiguration());
    Board& board = *simulation.board(0);
    std::uint64_t value = 0;
    std::uint32_t words[64];
    const auto isPlain = [&] { return board.memory().page().isPlain(); };
    const auto load = [&](const std::string& fault) {
        simulation.loadFaults(parseFaultScript("[[fault]]\nat = 2\nkind = " + fault, "script"), 1);
        EXPECT_FALSE(isPlain());
    };
    load("'register-failed'\nregister = 'GigeRecvPktCnt0'\nresult = -9");
    for (const int result : {0, -9, 0}) {
        EXPECT_FALSE(isPlain());
        EXPECT_EQ(board.readRegister(board.firmware().addressOf("GigeRecvPktCnt0"), value), result);
    }
    EXPECT_TRUE(isPlain());

    load("'size-long'");
    const auto read = [&](std::size_t count) { return board.readQueue(0, words, count, 0); };
    const auto taken = [&] {
        OrvoSimPortAccount account{};
        board.script()->catchUp(0);
        const std::lock_guard lock(benchMutex);
        board.script()->account(0, account);
        return std::vector{account.takenFrames, account.leftFrames, account.clearedFrames};
    };
    const std::uint8_t frame[60] = {};
    for (int i = 0; i < 6; ++i) board.ports()[0].receiveQueue().pushFrame(frame);
    for (const std::size_t count : {1U, 30U, 1U}) EXPECT_EQ(read(count), static_cast<int>(4 * count));
    EXPECT_EQ(words[0], 68U);
    simulation.endFaults();
    EXPECT_FALSE(isPlain()) << "the rest of the frame is not in the queue any more";
    EXPECT_EQ(read(34), 120);
    EXPECT_EQ(read(31 + 1), 128);
    EXPECT_TRUE(isPlain());
    EXPECT_THAT(taken(), ElementsAre(4, 2, 0)) << "the fourth is half read";
    board.clearQueue(0);
    EXPECT_THAT(taken(), ElementsAre(4, 0, 2));
}

} // namespace
