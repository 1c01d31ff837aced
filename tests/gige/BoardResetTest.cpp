// SPDX-License-Identifier: MIT
// The reset of a board and of single ports: every access, pause and message in order.
#include "support/Concurrency.h"
#include "support/EnvironmentVariable.h"
#include "support/InterfaceTest.h"
#include "support/Pacing.h"
#include "support/TemporaryFolder.h"

#include <atomic>

namespace orvo::test {
namespace {

using testing::ElementsAre;

Journal mdioWrite(const std::string& phyRegister, const std::string& value) {
    return {"write GigE_MdioRegAddr " + phyRegister, "write GigE_Mdio " + value, "write GigE_MdioWR 0",
            "sleep 100000"};
}

Journal mdioRead(const std::string& phyRegister, const std::string& value) {
    return {"write GigE_MdioRegAddr " + phyRegister, "write GigE_MdioRD 0", "sleep 50000",
            "read MdioReadReg " + value, "sleep 50000"};
}

Journal resetPulse(const std::string& lines) {
    return joined({mdioLookups,
                   {"find GigE_Reset", "write GigE_Reset " + lines, "sleep 100000", "write GigE_Reset 0xf",
                    "sleep 100000"}});
}

/// The accesses to one port's PHY when extended register 0x0B holds `found` and gets `wanted`, and register 0
/// reads `control`.
Journal phySequence(const std::string& port, const std::string& found, const std::string& wanted,
                    const std::vector<std::string>& control) {
    std::vector<Journal> steps{{"write GigE_MdioPhyAddr " + port, "sleep 100000"},
                               mdioWrite("0x1d", "0x1b"),
                               mdioWrite("0x1e", "0x418f"),
                               mdioWrite("0x1d", "0x16"),
                               mdioWrite("0x1e", "0xa2da"),
                               mdioWrite("0x1d", "0xb"),
                               mdioRead("0x1e", found),
                               mdioWrite("0x1d", "0xb"),
                               mdioWrite("0x1e", wanted),
                               mdioWrite("0", "0x9140")};
    for (const auto& value : control) steps.push_back(mdioRead("0", value));
    return joined(steps);
}

/// The whole journal of a forced reset of port 2.
Journal forcedReset(const std::string& found, const std::string& wanted,
                    const std::vector<std::string>& control) {
    return joined({resetPulse("0xb"), phySequence("0x2", found, wanted, control)});
}

/// The accesses of the bus to the PHYs, without their values.
Journal busAccesses(const Journal& journal) {
    Journal bus;
    for (const auto& line : without("find", journal))
        if (line.find("Mdio") != std::string::npos) bus.push_back(line.substr(0, line.rfind(' ')));
    return bus;
}

class BoardResetTest : public InterfaceTest {
protected:
    BoardResetTest() {
        port.stop(); // forgets the resets of earlier tests
        resetting.injectDependency("id", std::string("first"));
        resetting.injectDependency("portId", portId);
    }

    EnvironmentVariable home{"HOME", nullptr};
    core::zume::OrvoGbePhysicalNetworkInterface resetting; // port 2 as well, with the reset left on
};

TEST_F(BoardResetTest, FirstSetupResetsTheWholeBoard) {
    board.registers["MdioReadReg"] = {0xFFFF8123, 0x8140, 0x9140, 0x1140, 0x123,
                                      0x1140,     0,      0,      0x7FFF, 0x1140};
    ASSERT_TRUE(resetting.setup());
    const auto journal = board.takeJournal();
    const auto opened = std::find(journal.begin(), journal.end(), "configure") + 1;
    EXPECT_EQ(Journal(opened, std::find(opened, journal.end(), portLookups.front())),
              joined({mdioLookups,
                      resetPulse("0"),
                      phySequence("0", "0xffff8123", "0x123", {"0x8140", "0x9140", "0x1140"}),
                      phySequence("0x1", "0x123", "0x123", {"0x1140"}),
                      phySequence("0x2", "0", "0", {"0"}),
                      phySequence("0x3", "0x7fff", "0x7fff", {"0x1140"}),
                      {"find GigE_TxStart", "write GigE_TxStart 0x1"},
                      {"find GigE_RxEnable", "write GigE_RxEnable 0x1"},
                      {"find GigeTxStart0", "write GigeTxStart0 0x1"},
                      {"find GigeTxStart1", "write GigeTxStart1 0x1"},
                      {"find GigeTxStart2", "write GigeTxStart2 0x1"},
                      {"find GigeTxStart3", "write GigeTxStart3 0x1"}}));
    EXPECT_THAT(takeMessages(), ElementsAre("3 PHY Id 'first': Selecting orvo board 0 port 2",
                                            "3 Resetting GigE hardware on board 0 ... ",
                                            "3 PHY Id 'first': Selected device successfully opened."));

    core::zume::OrvoGbePhysicalNetworkInterface second;
    ASSERT_TRUE(second.setup());
    EXPECT_THAT(takeMessages(), testing::SizeIs(2)) << "a board is reset once";
    port.stop(); // of any interface forgets the reset
    core::zume::OrvoGbePhysicalNetworkInterface third;
    ASSERT_TRUE(third.setup());
    EXPECT_THAT(takeMessages(), testing::SizeIs(3));
}

TEST_F(BoardResetTest, PauseThatASignalInterruptsGoesOn) {
    setUpPort();
    interruptNextSleep(std::chrono::milliseconds{30});
    port.forceReset();
    auto whole = forcedReset("0", "0", {"0"});
    whole.insert(std::find(whole.begin(), whole.end(), "sleep 100000") + 1, "sleep 70000");
    EXPECT_EQ(board.takeJournal(), whole);
}

TEST_F(BoardResetTest, ForcedResetTouchesItsOwnPortOnly) {
    setUpPort();
    board.registers["MdioReadReg"] = {0x8001, 0x1140};
    port.forceReset();
    EXPECT_EQ(board.takeJournal(), forcedReset("0x8001", "0x1", {"0x1140"}));
    EXPECT_THAT(takeMessages(), ElementsAre("3 Resetting GigE PHY 2 on board 0 ... "));
    ASSERT_TRUE(resetting.setup());
    EXPECT_THAT(takeMessages(), testing::Contains("3 Resetting GigE hardware on board 0 ... "))
        << "a forced reset does not count as the board's";
}

TEST_F(BoardResetTest, ForcedResetOfAPortBeyondTheBoardsResetsNone) {
    board.infoInts["ports/gige"] = 64;
    for (const int beyond : {4, 32, 34}) {
        core::zume::OrvoGbePhysicalNetworkInterface other;
        other.injectDependency("resetBoard", std::string("false"));
        other.injectDependency("portId", beyond);
        ASSERT_TRUE(other.setup());
        board.takeJournal();
        other.forceReset();
        EXPECT_EQ(board.takeJournal(), resetPulse("0xf")) << "port " << beyond;
    }
}

TEST_F(BoardResetTest, FailedReadsFallBack) {
    setUpPort();
    board.failing = {"MdioReadReg"};
    port.forceReset();
    EXPECT_EQ(board.takeJournal(), forcedReset("fails", "0", {"fails"})) << "the 0 written ends the wait";
    EXPECT_THAT(takeMessages(), testing::SizeIs(1));

    // With the driver class bit written, failing reads keep it, and only the bound ends the wait.
    const EnvironmentVariable mask("ORVO_GIGE_DRIVER_CLASS_PORT_MASK", "4");
    port.forceReset();
    const std::vector<std::string> fiveSeconds(50, "fails"); // rounds of 100 ms
    EXPECT_EQ(board.takeJournal(), forcedReset("fails", "0x8000", fiveSeconds));
    EXPECT_THAT(takeMessages(),
                ElementsAre("3 Resetting GigE PHY 2 on board 0 ... ",
                            "4 GigE PHY 2 on board 0 still in reset after 5 seconds, going on "
                            "(result = 0x8000)"));
}

TEST_F(BoardResetTest, DriverClassMaskSetsTheBitPortByPort) {
    const TemporaryFolder folder;
    home.set(folder.path().c_str());
    const EnvironmentVariable lessWanted("ORVO_GIGE_DRIVER_CLASS_PORT_MASK", "15");
    const auto bitOfPort2 = [this] {
        port.forceReset();
        const auto journal = board.takeJournal();
        return std::count(journal.begin(), journal.end(), "write GigE_Mdio 0x8004") == 1;
    };
    setUpPort();
    board.registers["MdioReadReg"] = {4};
    EXPECT_TRUE(bitOfPort2()) << "from the environment";
    folder.write(".config/orvo/rt.conf", "[GIGE]\nDriverClassPortMask = 11\n");
    EXPECT_FALSE(bitOfPort2()) << "the user's file goes first and is read anew";
}

TEST_F(BoardResetTest, FirmwareWithoutTheRegistersKeepsThePace) {
    board.lacking = {"GigE_MdioRD",      "GigE_MdioWR", "GigE_Mdio", "GigE_MdioRegAddr",
                     "GigE_MdioPhyAddr", "MdioReadReg", "GigE_Reset"};
    setUpPort();
    port.forceReset();
    const Journal pulse{"write register 0 0xb", "sleep 100000", "write register 0 0xf", "sleep 100000"};
    const auto pace = without("read", without("write", phySequence("", "", "", {""})));
    EXPECT_EQ(without("find", board.takeJournal()), joined({pulse, pace}))
        << "only the pulse is written unchecked";
}

TEST_F(BoardResetTest, StartRegistersAreWrittenEvenIfTheFirmwareLacksThem) {
    board.lacking = {"GigE_TxStart", "GigE_RxEnable", "GigeTxStart0",
                     "GigeTxStart1", "GigeTxStart2",  "GigeTxStart3"};
    ASSERT_TRUE(resetting.setup());
    const auto journal = board.takeJournal();
    EXPECT_EQ(std::count(journal.begin(), journal.end(), "write register 0 0x1"), 6);
}

TEST_F(BoardResetTest, ReportAndResetOfOneBoardTakeTurns) {
    setUpPort();
    core::zume::OrvoGbePhysicalNetworkInterface other;
    other.injectDependency("resetBoard", std::string("false"));
    other.injectDependency("portId", 1);
    ASSERT_TRUE(other.setup());
    board.takeJournal();
    std::vector<Journal> reads{{"write GigE_MdioPhyAddr 0x1"}};
    for (int n = 0; n <= 28; ++n) reads.push_back(mdioRead("", ""));
    const auto report = busAccesses(joined(reads));
    const auto reset = busAccesses(phySequence("0x2", "0", "0", {"0"}));
    for (int round = 0; round < 20; ++round) {
        const std::function<void()> users[] = {[&] { port.forceReset(); },
                                               [&] { other.triggerDebugOutput(); }};
        runTogether(2, [&](int i) { users[i](); });
        EXPECT_THAT(busAccesses(board.takeJournal()),
                    testing::AnyOf(joined({reset, report}), joined({report, reset})));
    }
}

TEST_F(BoardResetTest, SequencesOfOneBoardTakeTurnsAndTwoSetupsResetItOnce) {
    setUpPort();
    core::zume::OrvoGbePhysicalNetworkInterface other;
    other.injectDependency("portId", 1);
    const std::function<void()> users[] = {[&] { EXPECT_TRUE(resetting.setup()); },
                                           [&] { EXPECT_TRUE(other.setup()); }, [&] { port.forceReset(); }};
    runTogether(3, [&](int i) { users[i](); });
    const auto sequence = busAccesses(phySequence("0", "0", "0", {"0"}));
    EXPECT_EQ(busAccesses(board.takeJournal()), joined({sequence, sequence, sequence, sequence, sequence}))
        << "four ports once, and the forced reset";
}

TEST_F(BoardResetTest, DispatcherThatCallsBackOrStallsHoldsNobodyUp) {
    setUpPort();
    const auto useEverything = [this] {
        port.forceReset();
        port.triggerDebugOutput();
        port.reinitialize(core::zume::ReleaseDevice);
        port.forceReset();
        port.triggerDebugOutput();
        port.reinitialize(core::zume::ReopenDevice);
    };
    std::atomic<bool> isCalledBack{false};
    int callbacks = 0;
    const auto callBack = [&] {
        if (isCalledBack.exchange(true)) return; // a callback's own messages are only recorded
        ++callbacks;
        finishInBackground(useEverything); // the dispatcher is stalled meanwhile
        useEverything();
        isCalledBack = false;
    };
    onLookup([&](auto&, auto&) { callBack(); });
    onEmit(callBack);
    useEverything();
    EXPECT_TRUE(resetting.setup());
    onLookup({});
    onEmit({});
    EXPECT_EQ(callbacks, 124) << "every line of a reset, a report and both phases, and three look-ups";
    takeMessages();
    port.addToSendQueue(frame({1, 2}));
    EXPECT_EQ(statistics()["Send"], "1 frames (6 bytes)");
}

} // namespace
} // namespace orvo::test
