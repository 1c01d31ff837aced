// SPDX-License-Identifier: MIT
// The statistics that an interface logs at its end.
#include "support/InterfaceTest.h"

namespace orvo::test {
namespace {

using testing::ElementsAre;

class StartAndStopTest : public InterfaceTest {};

TEST_F(StartAndStopTest, StatisticsCoverTheWholeLife) {
    board.registers["GigeRecvPktCnt2"] = {1000, 1250};
    board.registers["GigeRecvErrCnt2"] = {7, 7};
    board.registers["CtrlPktReceivedCnt2"] = {5};
    board.registers["GvspFiFoOverflow_GigeTransceiver2"] = {0, 16};
    board.lacking = {"CtrlPktSendUiqCnt2"};
    board.lostWords = -3;
    ASSERT_TRUE(port.setup());
    for (int i = 0; i < 3; ++i) port.addToSendQueue(frame(countingBytes(64)));
    for (int i = 0; i < 2; ++i) {
        board.queues[portId] = FakeBoard::transmission(countingBytes(60));
        ASSERT_TRUE(port.receive(nullptr));
    }
    board.failing = {"CtrlPktReceivedCnt2"};
    port.stop();
    takeMessages();
    board.takeJournal();
    port.waitForTermination();
    EXPECT_THAT(takeMessages(), ElementsAre("3 PHY Id 'gige': Send - 3 frames (204 bytes)",
                                            "3 PHY Id 'gige': Recv - 2 frames (120 bytes)",
                                            "3 PHY Id 'gige':        ....... zerosize transmissions : 0",
                                            "3 PHY Id 'gige':        ................. invalid EOTs : 0",
                                            "3 PHY Id 'gige':        ... invalid transmission sizes : 0",
                                            "3 PHY Id 'gige':        .............. UIQ read errors : 0",
                                            "3 PHY Id 'gige':        ............... UIQ lost words : -3",
                                            "3 PHY Id 'gige':        ........ Hardware Packet Count : 250",
                                            "3 PHY Id 'gige':        ....... Hardware Packet Errors : 0",
                                            "3 PHY Id 'gige':        ....... Ctrl Packet Recv Count : " +
                                                std::to_string(0ULL - 5),
                                            "3 PHY Id 'gige':        ........... GVSP FIFO overflow : 0x10",
                                            "3 PHY Id 'gige':        .......... GVCP FIFO not empty : 0"));
    EXPECT_THAT(board.takeJournal(),
                ElementsAre("lost words of 2", "read GigeRecvPktCnt2 0x4e2", "read GigeRecvErrCnt2 0x7",
                            "read CtrlPktReceivedCnt2 fails", "read GvspFiFoOverflow_GigeTransceiver2 0x10",
                            "read GvcpFiFoNotEmpty_GigeTransceiver2 0"));

    setThreshold(4); // lines that do not pass ask for nothing but the registers
    board.failing = {"GvspFiFoOverflow_GigeTransceiver2"};
    port.waitForTermination();
    EXPECT_THAT(board.takeJournal(), testing::SizeIs(5));
    setThreshold(2);
    EXPECT_EQ(statistics()["GVSP FIFO overflow"], "0x10") << "a flag keeps its value when it cannot be read";
}

TEST_F(StartAndStopTest, LifeWithoutADeviceEndsInOrder) {
    board.opens = false;
    EXPECT_FALSE(port.setup());
    port.start();
    port.stop();
    board.takeJournal();
    takeMessages();
    port.forceReset();
    EXPECT_THAT(takeMessages(), ElementsAre("4 Device is released, no reset on board 0"));
    board.lostWords = -2130;
    port.waitForTermination();
    const auto messages = takeMessages();
    EXPECT_THAT(messages, testing::SizeIs(7));
    EXPECT_EQ(messages.back(), "3 PHY Id 'gige':        ............... UIQ lost words : -2130");
    EXPECT_THAT(board.takeJournal(), ElementsAre("lost words of 2"));

    EXPECT_TRUE(port.reinitialize(core::zume::ReleaseDevice));
    EXPECT_EQ(statistics()["UIQ lost words"], "0");
    board.opens = true;
    EXPECT_TRUE(port.setup()) << "a release before the first opening does not count";
    port.addToSendQueue(frame({1, 2}));
    EXPECT_EQ(statistics()["Send"], "1 frames (6 bytes)");
}

} // namespace
} // namespace orvo::test
