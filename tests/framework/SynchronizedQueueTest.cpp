// SPDX-License-Identifier: MIT
// The queue between threads: order, capacity, interruption, ownership of what it holds.
#include <orvo/templates/platform/SynchronizedQueue.h>

#include "support/Concurrency.h"

#include <gmock/gmock.h>

#include <atomic>
#include <stdexcept>

namespace orvo::test {
namespace {

using namespace std::chrono_literals;
using Interrupted = templates::platform::SynchronizedQueueInterruptException;
template <class T> using Queue = templates::platform::SynchronizedQueue<T>;

TEST(SynchronizedQueue, InterruptionReleasesEveryoneForGood) {
    Queue<int> full(2), empty(2);
    full.push(1);
    full.push(2);
    int item = 0;
    std::future<void> waiting[] = {inBackground([&] { full.push(3); }), inBackground([&] { full.push(4); }),
                                   inBackground([&] { empty.pop(); }),
                                   inBackground([&] { empty.tryPop(item, 1h); })};
    for (const auto& each : waiting) EXPECT_TRUE(isWaiting(each));
    full.interrupt();
    empty.interrupt();
    for (auto& each : waiting) EXPECT_THROW(each.get(), Interrupted);

    EXPECT_EQ(full.pop(), 1) << "what was queued before is still delivered";
    EXPECT_THROW(full.push(5), Interrupted) << "room or not";
    EXPECT_TRUE(full.tryPop(item, 0ms));
    EXPECT_EQ(item, 2);
    EXPECT_THROW(full.tryPop(item, 0ms), Interrupted);
    EXPECT_THROW(full.pop(), Interrupted);
}

TEST(SynchronizedQueue, TryPopEndsAtItsLimit) {
    Queue<int> queue(1);
    int item = -1;
    for (const auto limit : {0ms, 15ms, -1ms, std::chrono::milliseconds::min()}) {
        SCOPED_TRACE(limit.count());
        const auto begin = std::chrono::steady_clock::now();
        EXPECT_FALSE(queue.tryPop(item, limit));
        EXPECT_GE(std::chrono::steady_clock::now() - begin, std::max(limit, 0ms));
    }
    EXPECT_EQ(item, -1);
    for (const auto limit : {std::chrono::milliseconds(24h), std::chrono::milliseconds::max()}) {
        SCOPED_TRACE(limit.count());
        auto consumer = inBackground([&] { EXPECT_TRUE(queue.tryPop(item, limit)); });
        EXPECT_TRUE(isWaiting(consumer));
        queue.push(7);
        consumer.get();
    }
    EXPECT_EQ(item, 7);
}

/// Its copies can be made to fail.
struct Fragile {
    explicit Fragile(int number) : value(number) {}
    Fragile(const Fragile& other) : value(other.value) {
        if (breaks) throw std::runtime_error("copy");
    }
    int value;
    static inline bool breaks = false;
};

TEST(SynchronizedQueue, FailedCopyLeavesTheQueueAsItWas) {
    Queue<Fragile> queue(2);
    queue.push(Fragile(1));
    Fragile::breaks = true;
    EXPECT_THROW(queue.push(Fragile(2)), std::runtime_error);
    EXPECT_THROW(queue.pop(), std::runtime_error);
    Fragile::breaks = false;
    queue.push(Fragile(3));
    EXPECT_EQ(queue.pop().value, 1);
    EXPECT_EQ(queue.pop().value, 3);
}

TEST(SynchronizedQueue, NothingIsLostBetweenManyThreads) {
    constexpr int producers = 2, consumers = 2, each = 3000;
    Queue<int> queue(3);
    std::vector<int> taken[consumers];
    std::atomic<int> producing = producers;
    runTogether(producers + consumers, [&](int i) {
        if (i < producers) {
            for (int k = 0; k < each; ++k) queue.push(i * each + k);
            if (--producing == 0) queue.interrupt();
            return;
        }
        try {
            for (;;) taken[i - producers].push_back(queue.pop());
        } catch (const Interrupted&) {
            return;
        }
    });
    std::vector<int> seen(std::size_t{producers} * each);
    for (const auto& items : taken) {
        int last[producers] = {-1, -1};
        for (const int item : items) {
            ++seen[static_cast<std::size_t>(item)];
            EXPECT_GT(item, std::exchange(last[item / each], item)) << "out of its producer's order";
        }
    }
    EXPECT_THAT(seen, testing::Each(1));
}

} // namespace
} // namespace orvo::test
