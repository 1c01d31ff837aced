// Injection, opening and setup: order of calls, failures, and what setup leaves behind.
#include "support/EnvironmentVariable.h"
#include "support/InterfaceTest.h"

#include "platform/AnyException.h"

namespace orvo::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

class SetupTest : public InterfaceTest {
protected:
    static Journal without(Journal journal, const std::string& beginning) {
        std::erase_if(journal, [&](auto& line) { return line.starts_with(beginning); });
        return journal;
    }
};

TEST_F(SetupTest, OpensResolvesSnapshotsAndEmpties) {
    ASSERT_TRUE(port.setup());
    EXPECT_THAT(board.takeJournal(),
                ElementsAre("open 0", "info board/caminterface", "info ports/gige", "info firmware/major",
                            "info firmware/minor", "applet 1.2", "configure",
                            // the bus to the PHYs, needed by whatever comes first: a reset or a report
                            "find GigE_MdioRD", "find GigE_MdioWR", "find GigE_Mdio", "find GigE_MdioRegAddr",
                            "find GigE_MdioPhyAddr", "find MdioReadReg",
                            // the port's registers
                            "find GigeBufferReset2", "find GigeWriteData2", "find GigeWriteComplete2",
                            "find GigeTxDisableCrcGeneration2", "find GigeTxTransferActive2",
                            "find GigeRecvPktCnt2", "find GigeRecvErrCnt2", "find CtrlPktReceivedCnt2",
                            "find CtrlPktSendUiqCnt2", "find GvspFiFoOverflow_GigeTransceiver2",
                            "find GvcpFiFoNotEmpty_GigeTransceiver2", "find ActionCmdConfigData2",
                            // a defined start
                            "write GigeTxDisableCrcGeneration2 0", "read GigeRecvPktCnt2 0",
                            "read GigeRecvErrCnt2 0", "read CtrlPktReceivedCnt2 0",
                            "read CtrlPktSendUiqCnt2 0", "read GvspFiFoOverflow_GigeTransceiver2 0",
                            "read GvcpFiFoNotEmpty_GigeTransceiver2 0", "clear 2", "clear 10"));
    EXPECT_THAT(takeMessages(), ElementsAre("3 PHY Id 'gige': Selecting orvo board 0 port 2",
                                            "3 PHY Id 'gige': Selected device successfully opened."));
    EXPECT_FALSE(port.setup()) << "it is open already";
    EXPECT_THAT(takeMessages(),
                Contains("5 PHY Id 'gige': Device is open or released already, setup refused."));
    EXPECT_THAT(board.takeJournal(), IsEmpty());
}

TEST_F(SetupTest, EachFailureOfTheOpeningHasItsMessageAndReleasesWhatItOpened) {
    const Journal opened{"open 0", "info board/caminterface"};
    const struct {
        const char* name;
        std::function<void()> breakIt;
        const char* message;
        Journal end; // of the journal
    } rows[] = {
        {"no board",
         [&] { board.opens = false; },
         "Error in OHalInitDevice(...) for board id '0'",
         {"open 0"}},
        {"unknown interface kind",
         [&] { board.infoTexts.erase("board/caminterface"); },
         "No GigE interface available for board id '0'",
         {"info board/caminterface", "free device"}},
        {"another interface kind",
         [&] { board.infoTexts["board/caminterface"] = "GigE2"; },
         "No GigE interface available for board id '0'",
         {"info board/caminterface", "free device"}},
        {"the same in lower case",
         [&] { board.infoTexts["board/caminterface"] = "gige"; },
         "No GigE interface available for board id '0'",
         {"info board/caminterface", "free device"}},
        {"too few ports",
         [&] { board.infoInts["ports/gige"] = 2; },
         "Port id '2' not available for board id '0'",
         {"info ports/gige", "free device"}},
        {"no applet",
         [&] {
             board.hasApplet = false;
             board.infoInts["firmware/major"] = 0x305;
             board.infoInts["firmware/minor"] = -1;
         },
         "Error in KivFirmwareTrampoline(...)",
         {"applet 5.255", "free device"}},
        {"FPGA refuses",
         [&] { board.configureResult = -17; },
         "Error in OHalConfigureFpga(...) for board id '0' (result = -17)",
         {"configure", "unload applet", "free device"}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        row.breakIt();
        EXPECT_FALSE(port.setup());
        EXPECT_THAT(takeMessages(), ElementsAre("3 PHY Id 'gige': Selecting orvo board 0 port 2",
                                                std::string("5 PHY Id 'gige': ") + row.message));
        const auto journal = board.takeJournal();
        ASSERT_GE(journal.size(), row.end.size());
        EXPECT_EQ(Journal(journal.end() - static_cast<long>(row.end.size()), journal.end()), row.end);
        board.opens = board.hasApplet = true;
        board.configureResult = 0;
        board.infoTexts = {{"board/caminterface", "GigE"}};
        board.infoInts = {{"ports/gige", 3}, {"firmware/major", 1}, {"firmware/minor", 2}};
    }
    EXPECT_TRUE(port.setup()) << "a failed setup can be repeated";
}

TEST_F(SetupTest, MissingRegistersAreLeftAlone) {
    for (const char* name : {"GigeTxDisableCrcGeneration2", "GigeRecvErrCnt2", "ActionCmdConfigData2",
                             "GvspFiFoOverflow_GigeTransceiver2"})
        board.lack(name);
    board.answer("GvcpFiFoNotEmpty_GigeTransceiver2", {0x1F});
    ASSERT_TRUE(port.setup());
    const auto journal = without(board.takeJournal(), "find");
    EXPECT_THAT(Journal(journal.begin() + 7, journal.end()),
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
    EXPECT_EQ(without(board.takeJournal(), "queue").size(), 0U);
}

TEST_F(SetupTest, PreSendWaitTimeComesFromTheEnvironment) {
    const struct {
        const char* text;
        const char* sleep; // before a frame, null for none
    } rows[] = {{"25", "sleep 25000"},    {"0", nullptr},  {"abc", nullptr},
                {" \t7ms", "sleep 7000"}, {"-3", nullptr}, {"4294967", "sleep 4294967000"},
                {"4294968", nullptr},     {"", nullptr},   {"99999999999999999999", nullptr}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        const EnvironmentVariable wait("ORVO_PRE_SEND_WAIT_TIME", row.text);
        core::zume::OrvoGbePhysicalNetworkInterface other;
        other.injectDependency("resetBoard", std::string("false"));
        ASSERT_TRUE(other.setup());
        EXPECT_EQ(takeMessages().size(), row.sleep ? 3U : 2U);
        board.takeJournal();
        other.addToSendQueue(frame({1, 2}));
        EXPECT_EQ(board.takeJournal().front(), row.sleep ? row.sleep : "read GigeTxTransferActive0 0");
    }
    const EnvironmentVariable wait("ORVO_PRE_SEND_WAIT_TIME", "25");
    ASSERT_TRUE(port.setup());
    EXPECT_THAT(takeMessages(),
                Contains("3 PHY Id 'gige': Using a pre-send waiting time of 25 milliseconds."));
}

TEST_F(SetupTest, InjectionIsExactAboutTypes) {
    const std::string text = "boost::bad_any_cast: failed conversion using boost::any_cast";
    const struct {
        const char* name;
        boost::any value;
    } wrong[] = {{"boardId", 2U},          {"boardId", std::string("2")}, {"boardId", 2L},
                 {"portId", boost::any()}, {"resetBoard", false},         {"resetBoard", 0}};
    for (const auto& row : wrong) {
        SCOPED_TRACE(row.name);
        try {
            port.injectDependency(row.name, row.value);
            FAIL() << "accepted";
        } catch (const AnyException& error) {
            EXPECT_EQ(error.what(), text);
        }
    }
    port.injectDependency("colour", std::string("blue"));
    port.injectDependency("boardId", 3);
    port.injectDependency("resetBoard", std::string("true")); // does not undo the fixture's "false"
    ASSERT_TRUE(port.setup());
    const auto journal = board.takeJournal();
    EXPECT_EQ(journal.front(), "open 3");
    EXPECT_THAT(journal, testing::Not(Contains("find GigE_Reset")));
    EXPECT_THAT(takeMessages(), Contains("3 PHY Id 'gige': Selecting orvo board 3 port 2"));
    EXPECT_EQ(port.eventQueue(), port.eventQueue());
}

TEST_F(SetupTest, DestructionReleasesAppletThenDevice) {
    { const core::zume::OrvoGbePhysicalNetworkInterface unused; }
    EXPECT_THAT(board.takeJournal(), IsEmpty());
    {
        core::zume::OrvoGbePhysicalNetworkInterface used;
        used.injectDependency("resetBoard", std::string("false"));
        ASSERT_TRUE(used.setup());
        board.takeJournal();
    }
    EXPECT_THAT(board.takeJournal(), ElementsAre("unload applet", "free device"));
}

} // namespace
} // namespace orvo::test
