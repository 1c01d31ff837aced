// SPDX-License-Identifier: MIT
// The two phases, and who stays out of the hardware access layer in between.
#include "support/Concurrency.h"
#include "support/InterfaceTest.h"
#include "support/Pacing.h"

#include <atomic>

namespace orvo::test {
namespace {

using core::zume::ReinitializationPhase;
using core::zume::ReleaseDevice;
using core::zume::ReopenDevice;
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
    EXPECT_EQ(board.takeJournal(), joined({{"open 0", "configure"}, mdioLookups, {"clear 2"}, portLookups}));
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
    board.opens = false;
    takeMessages();
    EXPECT_FALSE(port.reinitialize(ReopenDevice));
    EXPECT_THAT(takeMessages(), ElementsAre("5 PHY Id 'gige': Error in OHalInitDevice(...) for board id '0'",
                                            "5 PHY Id 'gige': Device reinitialization failed."));
    board.opens = true;
    board.takeJournal();
    EXPECT_FALSE(port.receive(nullptr));
    EXPECT_EQ(board.takeJournal(), Journal(100, "sleep 1000")) << "nobody is let in";
    EXPECT_TRUE(port.reinitialize(ReopenDevice));
    EXPECT_THAT(board.takeJournal(), testing::Not(Contains("applet 1.2"))) << "the applet was kept";
    EXPECT_TRUE(port.reinitialize(ReleaseDevice));
    board.configureResult = -4;
    takeMessages();
    EXPECT_FALSE(port.reinitialize(ReopenDevice));
    EXPECT_THAT(takeMessages(),
                ElementsAre("5 PHY Id 'gige': Error in OHalConfigureFpga(...) for board id '0' "
                            "(result = -4)",
                            "5 PHY Id 'gige': Device reinitialization failed."));
    board.configureResult = 0;
    EXPECT_FALSE(port.setup()) << "it would wait for the leecher that may be running";
    board.takeJournal();
    EXPECT_TRUE(port.reinitialize(ReopenDevice));
    // The failed configuration unloaded the applet.
    EXPECT_THAT(board.takeJournal(), Contains("applet 1.2"));
    board.queues[portId] = FakeBoard::transmission(countingBytes(60));
    EXPECT_TRUE(port.receive(nullptr));
}

TEST_F(ReinitializationTest, NobodyIsInTheHardwareAccessLayerWhileTheDeviceIsReleased) {
    setUpPort();
    board.queues[portId] = FakeBoard::transmission(countingBytes(60));
    board.queues[portId + 8] = {{4, {0x10005}}};
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
    EXPECT_EQ(board.takeJournal(), Journal(100, "sleep 1000")) << "its usual time, without a read";
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

TEST_F(ReinitializationTest, RegistersThatAreGoneAfterTheReopeningAreLeftAlone) {
    setUpPort();
    core::zume::c_MONITOR_CRC_ERRORS = true;
    {
        const auto switching = repeating([&] { port.enableCustomChecksum(true); });
        const auto receiving = repeating([&] { port.receive(nullptr); });
        const auto reporting = repeating([&] { port.waitForTermination(); });
        for (int round = 0; round < 50; ++round) {
            ASSERT_TRUE(port.reinitialize(ReleaseDevice));
            board.lacking = round % 2 == 0
                                ? std::set<std::string>{"GigeTxDisableCrcGeneration2", "GigeRecvErrCnt2"}
                                : std::set<std::string>{};
            ASSERT_TRUE(port.reinitialize(ReopenDevice));
        }
    }
    core::zume::c_MONITOR_CRC_ERRORS = false;
    EXPECT_THAT(board.takeJournal(), testing::Not(Contains(testing::HasSubstr(" register 0"))));
    port.enableCustomChecksum(false);
    EXPECT_THAT(board.takeJournal(), ElementsAre("write GigeTxDisableCrcGeneration2 0")) << "it is back";
}

TEST_F(ReinitializationTest, ReleaseWaitsForCallsInProgressButNotForEver) {
    setUpPort();
    const struct {
        const char* place; // the read in which the board holds the call
        std::function<void()> call;
    } paths[] = {{"queue 2", [&] { port.receive(nullptr); }},
                 {"queue 10", [&] { port.monitorActionCommandTimeoutEvents(); }},
                 {"GigeTxTransferActive2",
                  [&] {
                      port.addToSendQueue(frame({1, 2}));
                  }},
                 {"GigeRecvPktCnt2", [&] { port.triggerDebugOutput(); }}};
    const auto release = [&] {
        return std::async(std::launch::async, [&] { return port.reinitialize(ReleaseDevice); });
    };
    for (const auto& path : paths) {
        SCOPED_TRACE(path.place);
        std::atomic<bool> isInside{false}, mayLeave{false};
        board.onRead = [&](const std::string& what) {
            if (what != path.place) return;
            isInside = true;
            while (!mayLeave) std::this_thread::yield();
        };
        const auto call = inBackground(path.call);
        while (!isInside) std::this_thread::yield();

        auto impatient = release();
        EXPECT_TRUE(isWaiting(impatient));
        advanceClock(std::chrono::seconds{9});
        EXPECT_TRUE(isWaiting(impatient)) << "its limit is 10 seconds";
        while (isWaiting(impatient)) advanceClock(std::chrono::seconds{1});
        EXPECT_FALSE(impatient.get());
        EXPECT_THAT(takeMessages(), Contains("5 PHY Id 'gige': Device is in use, it was not released."));

        auto patient = release();
        EXPECT_TRUE(isWaiting(patient));
        EXPECT_THAT(board.takeJournal(), testing::Not(Contains("free device")));
        mayLeave = true;
        EXPECT_TRUE(patient.get());
        call.wait();
        EXPECT_THAT(board.takeJournal(), Contains("free device"));
        EXPECT_TRUE(port.reinitialize(ReopenDevice));
        board.onRead = {}; // it refers to this round's flags
    }
}

} // namespace
} // namespace orvo::test
