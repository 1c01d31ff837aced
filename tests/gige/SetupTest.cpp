// SPDX-License-Identifier: MIT
// Injection, opening and setup: order of calls, failures, and what setup leaves behind.
#include "support/EnvironmentVariable.h"
#include "support/InterfaceTest.h"

#include "hal/OrvoHal.h"
#include "platform/AnyException.h"

#include <numeric>

namespace orvo::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

class SetupTest : public InterfaceTest {};

const Journal openingSteps =
    joined({{"open 0", "info board/caminterface", "info ports/gige"},
            {"info firmware/major", "info firmware/minor", "applet 1.2", "configure"}});

TEST_F(SetupTest, OpensResolvesSnapshotsAndEmpties) {
    ASSERT_TRUE(port.setup());
    EXPECT_EQ(board.takeJournal(),
              joined({openingSteps,
                      mdioLookups, // needed by whatever comes first: a reset or a report
                      portLookups,
                      {"find ActionCmdConfigData2", "write GigeTxDisableCrcGeneration2 0",
                       "read GigeRecvPktCnt2 0", "read GigeRecvErrCnt2 0", "read CtrlPktReceivedCnt2 0",
                       "read CtrlPktSendUiqCnt2 0", "read GvspFiFoOverflow_GigeTransceiver2 0",
                       "read GvcpFiFoNotEmpty_GigeTransceiver2 0", "clear 2", "clear 10"}}));
    EXPECT_THAT(takeMessages(), ElementsAre("3 PHY Id 'gige': Selecting orvo board 0 port 2",
                                            "3 PHY Id 'gige': Selected device successfully opened."));
    EXPECT_FALSE(port.setup()) << "it is open already";
    EXPECT_THAT(takeMessages(),
                Contains("5 PHY Id 'gige': Device is open or released already, setup refused."));
    EXPECT_THAT(board.takeJournal(), IsEmpty());
}

TEST_F(SetupTest, EachFailureOfTheOpeningHasItsMessageAndReleasesWhatItOpened) {
    const std::string noInterface = "No GigE interface available for board id '0'";
    const Journal freed{"free device"};
    const struct {
        std::function<void()> breakIt;
        std::string message;
        int stepsDone;
        Journal releases;
    } rows[] = {
        {[&] { board.opens = false; }, "Error in OHalInitDevice(...) for board id '0'", 1, {}},
        {[&] { board.infoTexts.clear(); }, noInterface, 2, freed},
        {[&] { board.infoTexts["board/caminterface"] = "GigE2"; }, noInterface, 2, freed},
        {[&] { board.infoTexts["board/caminterface"] = "gige"; }, noInterface, 2, freed},
        {[&] { board.infoInts["ports/gige"] = 2; }, "Port id '2' not available for board id '0'", 3, freed},
        {[&] { board.hasApplet = false; }, "Error in KivFirmwareTrampoline(...)", 6, freed},
        {[&] { board.configureResult = -17; },
         "Error in OHalConfigureFpga(...) for board id '0' (result = -17)",
         7,
         {"unload applet", "free device"}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.message);
        row.breakIt();
        EXPECT_FALSE(port.setup());
        EXPECT_THAT(takeMessages(), ElementsAre("3 PHY Id 'gige': Selecting orvo board 0 port 2",
                                                "5 PHY Id 'gige': " + row.message));
        const Journal done(openingSteps.begin(), openingSteps.begin() + row.stepsDone);
        EXPECT_EQ(board.takeJournal(), joined({done, row.releases}));
        board.opens = board.hasApplet = true;
        board.configureResult = 0;
        board.infoTexts = {{"board/caminterface", "GigE"}};
        board.infoInts["ports/gige"] = 3;
    }
    m_POHalConfigureFpga = [](void*, void*) -> int { throw std::bad_alloc(); };
    EXPECT_FALSE(port.setup());
    EXPECT_THAT(takeMessages(), Contains("5 PHY Id 'gige': Setup failed (std::bad_alloc)"));
    m_POHalConfigureFpga = [](void*, void*) { return 0; };
    EXPECT_EQ(board.takeJournal().back(), "free device");
    EXPECT_TRUE(port.setup()) << "a failed setup can be repeated";
}

TEST_F(SetupTest, MissingRegistersAreLeftAlone) {
    board.lacking = {"GigeTxDisableCrcGeneration2", "GigeRecvErrCnt2", "ActionCmdConfigData2",
                     "GvspFiFoOverflow_GigeTransceiver2"};
    board.registers["GvcpFiFoNotEmpty_GigeTransceiver2"] = {0x1F};
    ASSERT_TRUE(port.setup());
    const auto journal = without("find", board.takeJournal());
    EXPECT_THAT(Journal(journal.begin() + std::ssize(openingSteps), journal.end()),
                ElementsAre("read GigeRecvPktCnt2 0", "read CtrlPktReceivedCnt2 0",
                            "read CtrlPktSendUiqCnt2 0", "read GvcpFiFoNotEmpty_GigeTransceiver2 0x1f",
                            "clear 2", "clear 10"));
    EXPECT_THAT(takeMessages(), ElementsAre("3 PHY Id 'gige': Selecting orvo board 0 port 2",
                                            "4 PHY Id 'gige': Firmware fifo debug registers not empty: ",
                                            "4 PHY Id 'gige':          ........... GVSP FIFO overflow: 0",
                                            "4 PHY Id 'gige':          .......... GVCP FIFO not empty: 0x1f",
                                            "3 PHY Id 'gige': Selected device successfully opened."));
    port.start(); // without action commands there is nothing to start, to stop or to wait for
    port.stop();
    EXPECT_EQ(without("queue", board.takeJournal()).size(), 0U);
}

TEST_F(SetupTest, PreSendWaitTimeComesFromTheEnvironment) {
    const struct {
        const char* text;
        std::string waitMs; // empty for none
    } rows[] = {{"25", "25"},
                {"0", ""},
                {"abc", ""},
                {" \t7ms", "7"},
                {"-3", ""},
                {"4294967", "4294967"},
                {"4294968", "4294968"},
                {"4294967295", "4294967295"},
                {"4294967296", ""},
                {"", ""},
                {"99999999999999999999", ""}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        const EnvironmentVariable wait("ORVO_PRE_SEND_WAIT_TIME", row.text);
        core::zume::OrvoGbePhysicalNetworkInterface other;
        other.injectDependency("resetBoard", std::string("false"));
        ASSERT_TRUE(other.setup());
        const auto wanted = "Using a pre-send waiting time of " + row.waitMs + " milliseconds.";
        EXPECT_EQ(takeMessages().at(1),
                  "3 PHY Id '': " + (row.waitMs.empty() ? "Selected device successfully opened." : wanted));
        board.takeJournal();
        other.addToSendQueue(frame({1, 2}));
        std::vector<std::uint64_t> sleepsUs;
        for (const auto& line : board.takeJournal())
            if (line.starts_with("sleep ")) sleepsUs.push_back(std::stoull(line.substr(6)));
        const auto wantedMs = row.waitMs.empty() ? 0 : std::stoull(row.waitMs);
        EXPECT_EQ(std::accumulate(sleepsUs.begin(), sleepsUs.end(), std::uint64_t{0}), wantedMs * 1000);
        EXPECT_TRUE(wantedMs > 4294967 || sleepsUs.size() == (wantedMs == 0 ? 0U : 1U));
    }
}

TEST_F(SetupTest, InjectionIsExactAboutTypes) {
    const struct {
        const char* name;
        boost::any value;
    } wrong[] = {{"boardId", 2U},          {"boardId", std::string("2")}, {"boardId", 2L},
                 {"portId", boost::any()}, {"resetBoard", "false"},       {"resetBoard", 0}};
    const std::string text = "boost::bad_any_cast: failed conversion using boost::any_cast";
    for (const auto& row : wrong) {
        SCOPED_TRACE(row.name);
        EXPECT_THAT([&] { port.injectDependency(row.name, row.value); },
                    testing::ThrowsMessage<AnyException>(text));
    }
    port.injectDependency("colour", std::string("blue"));
    port.injectDependency("boardId", 3);
    port.injectDependency("resetBoard", std::string("true")); // does not undo the fixture's "false"
    ASSERT_TRUE(port.setup());
    const auto journal = board.takeJournal();
    EXPECT_EQ(journal.front(), "open 3");
    EXPECT_THAT(journal, testing::Not(Contains("find GigE_Reset")));
    EXPECT_THAT(takeMessages(), Contains("3 PHY Id 'gige': Selecting orvo board 3 port 2"));
}

TEST_F(SetupTest, DestructionReleasesAppletThenDevice) {
    { const core::zume::OrvoGbePhysicalNetworkInterface unused; }
    EXPECT_THAT(board.takeJournal(), IsEmpty());
    auto used = std::make_unique<core::zume::OrvoGbePhysicalNetworkInterface>();
    used->injectDependency("resetBoard", std::string("false"));
    ASSERT_TRUE(used->setup());
    board.takeJournal();
    used.reset();
    EXPECT_THAT(board.takeJournal(), ElementsAre("unload applet", "free device"));
}

} // namespace
} // namespace orvo::test
