// Posting of action command time-outs into a queue that is off, on, full or interrupted.
#include <orvo/core/zume/PhysicalNetworkInterfaceEventQueue.h>

#include "support/Concurrency.h"

#include <gtest/gtest.h>

namespace orvo::test {
namespace {

using namespace std::chrono_literals;
using core::zume::PhysicalNetworkInterfaceEvent;
using core::zume::PhysicalNetworkInterfaceEventQueue;
using core::zume::PniActionCommandTimeout;

/// Takes the next event, which must be there; the count of the time-out that it is.
int takeCount(PhysicalNetworkInterfaceEventQueue& events) {
    boost::shared_ptr<PhysicalNetworkInterfaceEvent> event;
    if (!events.queue->tryPop(event, 0ms)) return -1;
    const auto* timeout = dynamic_cast<PniActionCommandTimeout*>(event.get());
    if (!timeout) return -2;
    EXPECT_EQ(timeout->type, 8U);
    return timeout->count;
}

TEST(PhysicalNetworkInterfaceEventQueue, PostsOnlyWhileEnabled) {
    PhysicalNetworkInterfaceEventQueue events;
    events.notifyActionCommandTimeout(4);
    EXPECT_EQ(takeCount(events), -1);
    events.enabled = true;
    events.notifyActionCommandTimeout(5);
    events.notifyActionCommandTimeout(0xFFFF);
    events.enabled = false;
    events.notifyActionCommandTimeout(6);
    EXPECT_EQ(takeCount(events), 5);
    EXPECT_EQ(takeCount(events), 0xFFFF);
    EXPECT_EQ(takeCount(events), -1);
}

TEST(PhysicalNetworkInterfaceEventQueue, HoldsSixtyFourAndDropsWhatAnInterruptionCatches) {
    PhysicalNetworkInterfaceEventQueue events;
    events.enabled = true;
    for (unsigned short i = 0; i < 64; ++i) events.notifyActionCommandTimeout(i);
    auto post = inBackground([&] { events.notifyActionCommandTimeout(64); });
    EXPECT_TRUE(isWaiting(post));
    EXPECT_EQ(takeCount(events), 0);
    post.get();
    post = inBackground([&] { events.notifyActionCommandTimeout(65); });
    EXPECT_TRUE(isWaiting(post));
    events.queue->interrupt();
    post.get();
    events.notifyActionCommandTimeout(66);
    for (int i = 1; i <= 64; ++i) EXPECT_EQ(takeCount(events), i);
    EXPECT_THROW(events.queue->pop(), templates::platform::SynchronizedQueueInterruptException);
}

} // namespace
} // namespace orvo::test
