// SPDX-License-Identifier: MIT
// Everything at once, over and over: traffic on four ports against stop, reinitialisation, reset and
// destruction, and users of the plug-in that come and go. Few rounds as a test; ORVO_STORM_ROUNDS asks for
// more.
#include "support/Concurrency.h"
#include "system/SystemTest.h"

#include <atomic>
#include <cstdlib>
#include <mutex>
#include <thread>

namespace orvo::test {
namespace {

using core::zume::PhysicalNetworkInterfaceEvent;
using core::zume::ReleaseDevice;
using core::zume::ReopenDevice;
using Interrupted = templates::platform::SynchronizedQueueInterruptException;

int stormRounds() {
    const char* const text = std::getenv("ORVO_STORM_ROUNDS");
    return text ? std::atoi(text) : 6;
}

class StormTest : public SystemTest {
protected:
    /// One life of a port whose host sends, receives and takes events on threads of their own.
    void liveThrough(int portId, int round) {
        boost::shared_ptr<PhysicalNetworkInterface> port;
        {
            const std::lock_guard guard(factory); // a PluginLibrary is for one thread at a time
            port = makePort(portId, round % 4 == 0 ? "true" : "false");
        }
        ASSERT_TRUE(port->setup());
        port->eventQueue()->enabled = true;
        port->start();
        std::vector<std::jthread> threads;
        const auto repeat = [&threads](auto action) { threads.push_back(repeating(action)); };
        for (int sender = 0; sender < 2; ++sender)
            repeat([&] { // in bursts: threads that never rest would leave no processor for what they are to
                         // disturb
                for (int i = 0; i < 8; ++i) port->addToSendQueue(numberedFrame(60));
                std::this_thread::sleep_for(std::chrono::microseconds{100});
            });
        repeat([&] { port->receive(nullptr); });
        // One life in three nobody takes events, so that the queue fills up and holds the leecher.
        for (int taker = 0; taker < 2 && round % 3 != 0; ++taker)
            threads.emplace_back([&] { takeEvents(*port); });
        for (int step = 0; step < 4; ++step) interfere(*port, portId, round + step);
        port->stop();
        if (round % 2 == 0) threads.clear(); // or the traffic goes on until the end
        port->waitForTermination();
        threads.clear();
    }

    static void takeEvents(PhysicalNetworkInterface& port) {
        try {
            boost::shared_ptr<PhysicalNetworkInterfaceEvent> event;
            for (;;) port.eventQueue()->queue->tryPop(event, std::chrono::seconds{1});
        } catch (const Interrupted&) {
            return; // by stop
        }
    }

    static void interfere(PhysicalNetworkInterface& port, int portId, int what) {
        switch (what % 5) {
        case 0:
        case 1:
            EXPECT_TRUE(port.reinitialize(ReleaseDevice));
            EXPECT_TRUE(port.reinitialize(ReopenDevice));
            break;
        case 2:
            port.forceReset();
            break;
        case 3:
            port.triggerDebugOutput();
            break;
        default: // more than the event queue holds
            for (std::uint16_t count = 0; count < 80; ++count)
                orvoSimReportActionCommandTimeout(0, static_cast<unsigned>(portId), count);
            port.enableCustomChecksum(what % 2);
        }
    }

    std::mutex factory;
};

TEST_F(StormTest, FourPortsLiveAndDieUnderTraffic) {
    const auto staleBefore = simulated(0).staleAccesses;
    std::jthread levels([](const std::stop_token& end) { // thresholds change under those who log
        const auto swallow = [](void*, const char*, std::uint32_t, const char*) { return 1; };
        for (std::uint32_t level = 0; !end.stop_requested(); ++level)
            orvoLogUnsubscribe(
                orvoLogSubscribe(level % 2 ? nullptr : "guard.library", level % 6, swallow, nullptr));
    });
    for (int round = 0; round < stormRounds() && !HasFatalFailure(); ++round) {
        runTogether(4, [&](int portId) { liveThrough(portId, round + portId); });
        takeMessages();
    }
    levels = {};
    EXPECT_EQ(simulated(0).staleAccesses, staleBefore);
    orvoSimAdvanceTime(negotiationUs);
    for (int portId = 0; portId < 4; ++portId) {
        const auto port = makePort(portId, "true");
        ASSERT_TRUE(port->setup());
        orvoSimAdvanceTime(negotiationUs);
        expectCarried(*port, *port, 60);
        port->stop();
    }
}

TEST_F(StormTest, UsersComeAndGoOnManyThreads) {
    plugin.deinit(); // the test's own: the last user takes the singletons down, the next makes them
    std::atomic<int> setUp = 0;
    runTogether(4, [&](int portId) {
        for (int round = 0; round < stormRounds(); ++round) {
            core::PluginLibrary library(plugin.path());
            library.init();
            const auto port = boost::dynamic_pointer_cast<PhysicalNetworkInterface>(library.create());
            port->injectDependency("portId", portId);
            setUp += port->setup(); // the first one resets the board, for all or for itself
            port->stop();
        }
    });
    EXPECT_EQ(setUp, 4 * stormRounds());
}

} // namespace
} // namespace orvo::test
