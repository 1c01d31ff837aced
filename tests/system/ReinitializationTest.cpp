// SPDX-License-Identifier: MIT
// Releasing and reopening a device under full traffic, and a board that is gone in between.
#include "support/Concurrency.h"
#include "system/SystemTest.h"

#include <atomic>
#include <thread>

namespace orvo::test {
namespace {

using core::zume::ReleaseDevice;
using core::zume::ReopenDevice;

class ReinitializationTest : public SystemTest {};

TEST_F(ReinitializationTest, TrafficOnAllPathsTouchesNoFreedHandleAndLosesNoFrame) {
    const auto port = makePort(0, "false");
    ASSERT_TRUE(port->setup());
    const auto before = simulated(0).sentFrames;
    port->eventQueue()->enabled = true;
    port->start();
    std::vector<std::jthread> threads;
    const auto repeat = [&threads](auto action) { threads.push_back(repeating(action)); };
    std::atomic<std::uint64_t> handedOver = 0;
    for (int sender = 0; sender < 2; ++sender)
        repeat([&] {
            port->addToSendQueue(numberedFrame(60));
            ++handedOver;
        });
    repeat([&] { port->receive(nullptr); });
    repeat([&] {
        boost::shared_ptr<core::zume::PhysicalNetworkInterfaceEvent> event;
        orvoSimReportActionCommandTimeout(0, 0, 1);
        port->eventQueue()->queue->tryPop(event, std::chrono::milliseconds{1});
    });
    std::uint64_t dropped = 0;
    const auto sentFrames = [&] { return simulated(0).sentFrames - before; };
    for (int round = 0; round < 100'000 && (round < 500 || sentFrames() < 1000); ++round) {
        ASSERT_TRUE(port->reinitialize(ReleaseDevice));
        ASSERT_TRUE(port->reinitialize(ReopenDevice));
        dropped += takeMessages("Packet is dropped").size();
    }
    threads.clear();
    dropped += takeMessages("Packet is dropped").size();
    port->stop();
    port->waitForTermination();
    EXPECT_EQ(simulated(0).staleAccesses, 0U);
    EXPECT_GE(sentFrames(), 1000U);
    EXPECT_EQ(sentFrames(), handedOver - dropped);
    EXPECT_EQ(takeMessages("Send - " + std::to_string(sentFrames()) + " frames").size(), 1U);
    while (port->receive(nullptr)) continue;
    expectCarried(*port, *port, 62);

    EXPECT_TRUE(port->reinitialize(ReleaseDevice));
    orvoSimSetBoardPresent(0, 0);
    EXPECT_FALSE(port->reinitialize(ReopenDevice));
    orvoSimSetBoardPresent(0, 1);
    EXPECT_TRUE(port->reinitialize(ReopenDevice)) << "the board is back";
    orvoSimAdvanceTime(negotiationUs);
    expectCarried(*port, *port, 60);
}

} // namespace
} // namespace orvo::test
