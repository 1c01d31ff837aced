// SPDX-License-Identifier: MIT
// Frames of every size from one port to another, and the life of a port from load to unload.
#include "system/SystemTest.h"

namespace orvo::test {
namespace {

using testing::Contains;
using testing::HasSubstr;

class TrafficTest : public SystemTest {};

TEST_F(TrafficTest, FramesOfEverySizeCrossTheCable) {
    ASSERT_EQ(orvoSimSetWire(0, 0, "port:0/1", nullptr, 0), 0);
    const auto sender = makePort(0, "true"), receiver = makePort(1, "true");
    ASSERT_TRUE(sender->setup() && receiver->setup());
    EXPECT_EQ(takeMessages("Resetting GigE hardware").size(), 1U) << "one board, one reset";
    orvoSimAdvanceTime(negotiationUs);
    ASSERT_EQ(simulated(1).linkUp, 1);
    const auto before = simulated(0), beforeFar = simulated(1);
    for (const bool customChecksum : {false, true}) {
        sender->enableCustomChecksum(customChecksum);
        EXPECT_EQ(simulated(0).crcGeneration, customChecksum ? 0 : 1);
        for (int length = 60; length <= 1514; length += 2) expectCarried(*sender, *receiver, length);
    }
    EXPECT_EQ(simulated(1).receivedFrames - beforeFar.receivedFrames, 2U * 728);
    EXPECT_EQ(simulated(1).receivedBytes - beforeFar.receivedBytes,
              simulated(0).sentBytes - before.sentBytes);

    auto spoiled = numberedFrame(60);
    spoiled->appendFcs(1); // a receiver must refuse it, and count it
    sender->addToSendQueue(spoiled);
    EXPECT_FALSE(receiver->receive(nullptr));
    receiver->waitForTermination();
    const auto statistics = takeMessages("port1': ");
    EXPECT_THAT(statistics, Contains(HasSubstr("Recv - 1456 frames (1145872 bytes)")));
    EXPECT_THAT(statistics, Contains(HasSubstr("Hardware Packet Errors : 1")));
}

TEST_F(TrafficTest, LifeOfAPort) {
    const auto port = makePort(2, "true");
    ASSERT_TRUE(port->setup());
    orvoSimAdvanceTime(negotiationUs);
    expectCarried(*port, *port, 100);
    port->forceReset();
    EXPECT_EQ(simulated(2).linkUp, 0) << "the PHY negotiates anew";
    EXPECT_EQ(simulated(3).linkUp, 1) << "the other ports go on";
    orvoSimAdvanceTime(negotiationUs);
    expectCarried(*port, *port, 100);

    port->eventQueue()->enabled = true; // from here on the leecher's waits move the clock, too
    port->start();
    orvoSimReportActionCommandTimeout(0, 2, 77);
    boost::shared_ptr<core::zume::PhysicalNetworkInterfaceEvent> event;
    ASSERT_TRUE(port->eventQueue()->queue->tryPop(event, std::chrono::seconds{20}));
    const auto timeout = boost::dynamic_pointer_cast<core::zume::PniActionCommandTimeout>(event);
    ASSERT_TRUE(timeout);
    EXPECT_EQ(timeout->count, 77);

    port->triggerDebugOutput();
    EXPECT_THAT(takeMessages(), Contains(HasSubstr("[REGISTER]      Hardware Packet Count : 2")));
    port->stop();
    port->waitForTermination();
    EXPECT_EQ(takeMessages("Send - 2 frames (208 bytes)").size(), 1U);
    EXPECT_EQ(simulated(2).staleAccesses, 0U);
}

TEST_F(TrafficTest, HostileQueueContentEndsInCountersAndNothingElse) {
    const auto port = makePort(0, "false");
    ASSERT_TRUE(port->setup());
    std::uint32_t seed = 12345; // the same words every time
    const auto random = [&seed] { return seed = seed * 1664525 + 1013904223; };
    std::uint64_t delivered = 0;
    for (int round = 0; round < 3000; ++round) {
        std::vector<std::uint32_t> words(1 + random() % 40);
        for (auto& word : words) word = random() >> (random() % 32);
        orvoSimPushWords(0, 0, words.data(), words.size());
        if (round % 5 == 0) orvoSimMisreportReads(0, 0, static_cast<int>(random() % 64) - 32, 1);
        if (round % 11 == 0) orvoSimFailReads(0, 0, -static_cast<int>(1 + random() % 5000), 1);
        delivered += port->receive(nullptr) != nullptr;
    }
    orvoSimFailReads(0, 0, 0, 0);
    orvoSimMisreportReads(0, 0, 0, 0);
    ASSERT_TRUE(port->reinitialize(core::zume::ReleaseDevice) &&
                port->reinitialize(core::zume::ReopenDevice));
    expectCarried(*port, *port, 60); // the queue is empty again, and the port works
    port->waitForTermination();
    EXPECT_EQ(takeMessages("Recv - " + std::to_string(delivered + 1) + " frames").size(), 1U);
}

} // namespace
} // namespace orvo::test
