// SPDX-License-Identifier: MIT
// The action command queue: every kind of reading, the events, and the leecher thread.
#include "gige/OrvoGbePhysicalNetworkInterfaceUiqLeecherThread.h"
#include "support/InterfaceTest.h"

#include <orvo/core/zume/PhysicalNetworkInterfaceEvent.h>

#include <pthread.h>

#include <atomic>
#include <thread>

namespace orvo::test {
namespace {

using core::zume::PhysicalNetworkInterfaceEvent;
using core::zume::PniActionCommandTimeout;
using testing::ElementsAre;

constexpr std::uint32_t actionQueue = 10;

class ActionCommandsTest : public InterfaceTest {
protected:
    /// The counts of all queued events.
    std::vector<int> takeEvents() {
        std::vector<int> counts;
        boost::shared_ptr<PhysicalNetworkInterfaceEvent> event;
        while (port.eventQueue()->queue->tryPop(event, std::chrono::milliseconds{0})) {
            const auto* timeout = dynamic_cast<PniActionCommandTimeout*>(event.get());
            EXPECT_TRUE(timeout && timeout->type == 8);
            counts.push_back(timeout ? timeout->count : -1);
        }
        return counts;
    }
};

TEST_F(ActionCommandsTest, EachReadingEndsInItsMessageAndEvent) {
    setUpPort();
    port.eventQueue()->enabled = true;
    board.lostWords = 9;
    const std::string timeout = "3 PHY Id 'gige': Action command timeout detected --- Count: ";
    const std::string tooMany =
        "5 PHY Id 'gige': Too many received words for action command timeout UIQ buffer "
        "(received words = 1) [lost words: 9]";
    const auto failed = [](const std::string& result) {
        return "5 PHY Id 'gige': Error(s) in OHalDataQueueReadBufferLong(...) (result = " + result +
               ", received words = 0) [lost words: 9]";
    };
    const struct {
        const char* name;
        QueueAnswer answer;
        Messages messages;
        std::vector<int> events;
        Journal tail; // after the read
    } rows[] = {
        {"report", {4, {0x10005}}, {timeout + "5"}, {5}, {}},
        {"bits above the flag", {4, {0xFFFF0007}}, {timeout + "7"}, {7}, {}},
        {"nothing", {-2120, {}}, {}, {}, {}},
        {"failed read", {-5, {}}, {failed("-5")}, {}, {"lost words of 10", "sleep 100000"}},
        {"second in a row", {-6, {}}, {}, {}, {"sleep 100000"}},
        {"less than a word ends no run", {3, {0x10001}}, {}, {}, {}},
        {"third in a row", {-5, {}}, {}, {}, {"sleep 100000"}},
        {"no end flag", {4, {0x5}}, {tooMany}, {}, {"lost words of 10"}},
        {"failed read right after", {-5, {}}, {}, {}, {"sleep 100000"}},
        {"no end flag, every time", {4, {0xFFFE0005}}, {tooMany}, {}, {"lost words of 10"}},
        {"report ends the run", {4, {0x1FFFF}}, {timeout + "65535"}, {65535}, {}},
        {"a new run", {-2130, {}}, {failed("-2130")}, {}, {"lost words of 10", "sleep 100000"}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        board.queues[actionQueue] = {row.answer};
        port.monitorActionCommandTimeoutEvents();
        EXPECT_EQ(takeMessages(), row.messages);
        EXPECT_EQ(takeEvents(), row.events);
        EXPECT_EQ(board.takeJournal(), joined({{"queue 10 4 bytes 100 ms"}, row.tail}));
    }
    port.eventQueue()->enabled = false;
    board.queues[actionQueue] = {{4, {0x10005}}};
    port.monitorActionCommandTimeoutEvents();
    EXPECT_THAT(takeMessages(), ElementsAre(timeout + "5"));
    EXPECT_THAT(takeEvents(), testing::IsEmpty()) << "the queue is not enabled";
}

TEST_F(ActionCommandsTest, LeecherRunsFromStartToStopEvenWhenNobodyTakesEvents) {
    std::atomic<int> reads{0};
    board.onRead = [&](const std::string& what) {
        if (what != "queue 10") return;
        char name[16] = {};
        pthread_getname_np(pthread_self(), name, sizeof name);
        EXPECT_STREQ(name, "UiqAct/0-2");
        ++reads;
    };
    setUpPort();
    port.eventQueue()->enabled = true;
    board.queues[actionQueue] = std::vector<QueueAnswer>(70, {4, {0x10001}});
    port.start();
    port.start(); // starts no second thread
    for (std::size_t reports = 0; reports < 65; reports += takeMessages().size()) std::this_thread::yield();
    EXPECT_TRUE(port.reinitialize(core::zume::ReleaseDevice)) << "the waiting leecher is outside the gate";
    port.stop();
    port.waitForTermination();
    EXPECT_EQ(reads, 65) << "64 events fit, the leecher waits with one, and makes no pass after the stop";
    auto& events = *port.eventQueue()->queue;
    for (int i = 0; i < 64; ++i) events.pop();
    // The one that waited is dropped.
    EXPECT_THROW(events.pop(), templates::platform::SynchronizedQueueInterruptException);
    port.start(); // a thread after the stop sees the flag at once
    port.waitForTermination();
    core::zume::OrvoGbePhysicalNetworkInterfaceUiqLeecherThread otherKind(&port, 1, 0, portId);
    otherKind.start();
    otherKind.join();
    EXPECT_EQ(reads, 65);
}

} // namespace
} // namespace orvo::test
