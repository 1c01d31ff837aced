// The two phases, and who stays out of the hardware access layer in between.
#include "gige/DeviceGate.h"
#include "support/InterfaceTest.h"
#include "support/Pacing.h"

#include <atomic>
#include <thread>

namespace orvo::test {
namespace {

using core::zume::ReinitializationPhase;
using core::zume::ReleaseDevice;
using core::zume::ReopenDevice;
using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

class ReinitializationTest : public InterfaceTest {};

TEST_F(ReinitializationTest, PhasesReleaseAndReopen) {
    setUpPort();
    port.addToSendQueue(frame(countingBytes(60)));
    board.takeJournal();
    EXPECT_TRUE(port.reinitialize(ReleaseDevice));
    EXPECT_TRUE(port.reinitialize(ReleaseDevice)) << "there is nothing left to release";
    EXPECT_THAT(board.takeJournal(), ElementsAre("free device"));
    EXPECT_TRUE(port.reinitialize(ReopenDevice));
    EXPECT_THAT(board.takeJournal(),
                ElementsAre("open 0", "configure", "find GigE_MdioRD", "find GigE_MdioWR", "find GigE_Mdio",
                            "find GigE_MdioRegAddr", "find GigE_MdioPhyAddr", "find MdioReadReg", "clear 2",
                            "find GigeBufferReset2", "find GigeWriteData2", "find GigeWriteComplete2",
                            "find GigeTxDisableCrcGeneration2", "find GigeTxTransferActive2",
                            "find GigeRecvPktCnt2", "find GigeRecvErrCnt2", "find CtrlPktReceivedCnt2",
                            "find CtrlPktSendUiqCnt2", "find GvspFiFoOverflow_GigeTransceiver2",
                            "find GvcpFiFoNotEmpty_GigeTransceiver2"));
    EXPECT_THAT(takeMessages(), ElementsAre("2 PHY Id 'gige': Device successfully deinitialized.",
                                            "2 PHY Id 'gige': Device successfully deinitialized.",
                                            "2 PHY Id 'gige': Device successfully reinitialized."));
    EXPECT_TRUE(port.reinitialize(static_cast<ReinitializationPhase>(2)));
    EXPECT_THAT(takeMessages(), IsEmpty());
    port.addToSendQueue(frame(countingBytes(60)));
    EXPECT_EQ(statistics()["Send"], "2 frames (128 bytes)") << "counters go on";
}

TEST_F(ReinitializationTest, ReopeningThatFailsCanBeRepeated) {
    setUpPort();
    EXPECT_FALSE(port.reinitialize(ReopenDevice)) << "the device is open";
    EXPECT_THAT(takeMessages(),
                ElementsAre("5 PHY Id 'gige': Device was not released before, reinitialization refused."));
    EXPECT_TRUE(port.reinitialize(ReleaseDevice));
    board.configureResult = -4;
    takeMessages();
    EXPECT_FALSE(port.reinitialize(ReopenDevice));
    EXPECT_THAT(takeMessages(),
                ElementsAre("5 PHY Id 'gige': Error in OHalConfigureFpga(...) for board id '0' "
                            "(result = -4)",
                            "5 PHY Id 'gige': Device reinitialization failed."));
    board.opens = false;
    EXPECT_FALSE(port.reinitialize(ReopenDevice));
    board.opens = true;
    board.configureResult = 0;
    board.takeJournal();
    EXPECT_TRUE(port.reinitialize(ReopenDevice));
    EXPECT_THAT(board.takeJournal(), Contains("applet 1.2"))
        << "the applet went with the failed configuration";
    board.queue(portId, FakeBoard::transmission(countingBytes(60)));
    EXPECT_TRUE(port.receive(nullptr));
}

TEST_F(ReinitializationTest, NobodyIsInTheHardwareAccessLayerWhileTheDeviceIsReleased) {
    setUpPort();
    board.queue(portId, FakeBoard::transmission(countingBytes(60)));
    board.queue(portId + 8, {{4, {0x10005}}});
    ASSERT_TRUE(port.reinitialize(ReleaseDevice));
    board.takeJournal();
    takeMessages();

    port.addToSendQueue(frame(countingBytes(60)));
    port.enableCustomChecksum(true);
    port.forceReset();
    port.triggerDebugOutput();
    EXPECT_THAT(board.takeJournal(), IsEmpty());
    EXPECT_THAT(takeMessages(),
                ElementsAre("4 PHY Id 'gige': Packet is dropped, the device is released (packet size: 60)",
                            "4 Device is released, no reset on board 0",
                            "4 PHY Id 'gige': Device is released, no debug output."));
    EXPECT_FALSE(port.isCustomChecksumEnabled());

    EXPECT_FALSE(port.receive(nullptr));
    EXPECT_EQ(board.takeJournal(), Journal(100, "sleep 1000")) << "its usual time, for nothing";
    port.monitorActionCommandTimeoutEvents();
    EXPECT_EQ(board.takeJournal(), Journal(100, "sleep 1000"));
    EXPECT_THAT(takeMessages(), IsEmpty());

    port.waitForTermination();
    EXPECT_THAT(board.takeJournal(), IsEmpty());
    EXPECT_THAT(takeMessages(), Contains("3 PHY Id 'gige':        ............... UIQ lost words : 0"));
    ASSERT_TRUE(port.reinitialize(ReopenDevice));
    EXPECT_TRUE(port.receive(nullptr));
    EXPECT_FALSE(port.setup()) << "a device that was reopened is set up";
}

TEST_F(ReinitializationTest, ReleaseWaitsForCallsInProgressButNotForEver) {
    setUpPort();
    std::atomic<bool> inside{false}, leave{false};
    board.onRead = [&](const std::string& what) {
        if (what != "queue 2") return;
        inside = true;
        while (!leave) std::this_thread::yield();
    };
    std::thread reader([&] { port.receive(nullptr); });
    while (!inside) std::this_thread::yield();
    std::atomic<bool> released{false};
    std::thread releaser([&] { released = port.reinitialize(ReleaseDevice); });
    for (int i = 0; i < 1000; ++i) std::this_thread::yield();
    EXPECT_THAT(board.takeJournal(), testing::Not(Contains("free device")));
    leave = true;
    reader.join();
    releaser.join();
    EXPECT_TRUE(released);
    EXPECT_THAT(board.takeJournal(), Contains("free device"));
    ASSERT_TRUE(port.reinitialize(ReopenDevice));

    inside = leave = false;
    std::thread stuck([&] { port.receive(nullptr); });
    while (!inside) std::this_thread::yield();
    std::atomic<bool> answered{false};
    std::thread impatient([&] {
        EXPECT_FALSE(port.reinitialize(ReleaseDevice));
        answered = true;
    });
    while (!answered) {
        advanceClock(std::chrono::milliseconds{100});
        std::this_thread::yield();
    }
    impatient.join();
    EXPECT_THAT(takeMessages(), Contains("5 PHY Id 'gige': Device is in use, it was not released."));
    EXPECT_THAT(board.takeJournal(), testing::Not(Contains("free device")));
    leave = true;
    stuck.join();
    port.addToSendQueue(frame({1, 2})); // the gate is open again
    EXPECT_EQ(statistics()["Send"], "1 frames (6 bytes)");
}

/// A board that knows whether its handle is in use while it is being freed.
TEST_F(ReinitializationTest, PhasesAgainstTrafficOnAllPathsTouchNoFreedHandle) {
    constexpr int rounds = 1000;
    setUpPort();
    setThreshold(4);
    port.eventQueue()->enabled = true;
    std::atomic<bool> done{false};
    std::atomic<std::uint64_t> handedOver{0}, freed{0};
    std::uint64_t dropped = 0;
    port.start();
    const auto send = [&] {
        while (!done) {
            port.addToSendQueue(frame(countingBytes(60)));
            ++handedOver;
        }
    };
    std::thread receiver([&] {
        while (!done) port.receive(nullptr);
    });
    std::thread firstSender(send), secondSender(send);
    board.onRelease = [&] { freed += board.callsInside() != 0; };
    for (int round = 0; round < rounds; ++round) {
        ASSERT_TRUE(port.reinitialize(ReleaseDevice));
        ASSERT_TRUE(port.reinitialize(ReopenDevice));
        board.takeJournal();
        for (const auto& message : takeMessages())
            dropped += message.find("Packet is dropped") != std::string::npos;
    }
    done = true;
    receiver.join();
    firstSender.join();
    secondSender.join();
    port.stop();
    for (const auto& message : takeMessages())
        dropped += message.find("Packet is dropped") != std::string::npos;
    setThreshold(2);
    const auto sent = statistics()["Send"];
    EXPECT_EQ(freed, 0U);
    EXPECT_EQ(sent.substr(0, sent.find(' ')), std::to_string(handedOver - dropped))
        << "no frame without a trace";
    port.addToSendQueue(frame(countingBytes(60)));
    EXPECT_THAT(board.takeJournal(), Contains("write GigeWriteComplete2 0"));
}

} // namespace
} // namespace orvo::test
