// Releasing and reopening a device under full traffic, and a board that is gone in between.
#include "system/SystemTest.h"

#include <atomic>
#include <thread>

namespace orvo::test {
namespace {

using core::zume::ReleaseDevice;
using core::zume::ReopenDevice;
using testing::Contains;
using testing::HasSubstr;

class ReinitializationTest : public SystemTest {};

TEST_F(ReinitializationTest, TrafficOnAllPathsTouchesNoFreedHandleAndEveryFrameIsAccountedFor) {
    constexpr int rounds = 1000;
    const auto port = makePort(0, false);
    ASSERT_TRUE(port->setup());
    const auto before = simulated(0).sentFrames;
    port->eventQueue()->enabled = true;
    port->start();
    std::atomic<bool> done{false};
    std::atomic<std::uint64_t> handedOver{0}, received{0};
    const auto send = [&] {
        while (!done) {
            port->addToSendQueue(numberedFrame(60));
            ++handedOver;
        }
    };
    std::thread firstSender(send), secondSender(send);
    std::thread receiver([&] {
        while (!done) received += port->receive(nullptr) != nullptr;
    });
    std::thread events([&] {
        boost::shared_ptr<core::zume::PhysicalNetworkInterfaceEvent> event;
        while (!done) {
            orvoSimReportActionCommandTimeout(0, 0, 1);
            port->eventQueue()->queue->tryPop(event, std::chrono::milliseconds{1});
        }
    });
    std::uint64_t dropped = 0;
    for (int round = 0; round < rounds; ++round) {
        ASSERT_TRUE(port->reinitialize(ReleaseDevice));
        ASSERT_TRUE(port->reinitialize(ReopenDevice));
        dropped += takeMessages("Packet is dropped").size();
    }
    done = true;
    for (auto* thread : {&firstSender, &secondSender, &receiver, &events}) thread->join();
    dropped += takeMessages("Packet is dropped").size();
    port->stop();
    port->waitForTermination();
    EXPECT_EQ(simulated(0).staleAccesses, 0U);
    EXPECT_GT(handedOver, dropped);
    EXPECT_THAT(takeMessages(),
                Contains(HasSubstr("Send - " + std::to_string(handedOver - dropped) + " frames")));
    EXPECT_EQ(simulated(0).sentFrames - before, handedOver - dropped);
    while (port->receive(nullptr)) {
    }
    port->addToSendQueue(numberedFrame(62));
    const auto last = port->receive(nullptr);
    ASSERT_TRUE(last);
    EXPECT_EQ(last->length(), 62);
}

TEST_F(ReinitializationTest, BoardThatVanishedIsReportedUntilItIsBack) {
    const auto port = makePort(0, false);
    ASSERT_TRUE(port->setup());
    orvoSimSetBoardPresent(0, 0);
    EXPECT_TRUE(port->reinitialize(ReleaseDevice));
    takeMessages();
    EXPECT_FALSE(port->reinitialize(ReopenDevice));
    EXPECT_THAT(takeMessages(),
                testing::ElementsAre("PHY Id 'port0': Error in OHalInitDevice(...) for board id '0'",
                                     "PHY Id 'port0': Device reinitialization failed."));
    orvoSimSetBoardPresent(0, 1);
    EXPECT_TRUE(port->reinitialize(ReopenDevice));
    orvoSimAdvanceTime(5'000'000);
    port->addToSendQueue(numberedFrame(60));
    EXPECT_TRUE(port->receive(nullptr));
}

} // namespace
} // namespace orvo::test
