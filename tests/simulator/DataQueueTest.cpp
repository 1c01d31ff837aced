// SPDX-License-Identifier: MIT
// The ring of a data queue under several threads.
#include "mac/DataQueue.h"

#include <gmock/gmock.h>

#include <thread>

namespace {

using namespace orvo::sim;

constexpr std::size_t recordWords = 5;
constexpr std::uint32_t records = 20'000;

class DataQueueTest : public testing::Test {
protected:
    /// Pushes records of one number five times over, with the producer's own bits on top, counting up.
    void produce(std::uint32_t producer) {
        for (std::uint32_t i = 1; i <= records; ++i)
            while (!queue.push(std::vector(recordWords, producer << 24 | i)) && !HasFailure())
                std::this_thread::yield();
    }
    /// Takes a record if there is one; it must be whole, and later than the one before of the same producer.
    unsigned consume() {
        std::uint32_t record[recordWords] = {};
        if (!queue.await(recordWords, std::chrono::milliseconds(1))) return 0;
        if (queue.take(record, recordWords) == 0) return 0; // cleared in between
        EXPECT_THAT(record, testing::Each(record[0]));
        EXPECT_LT(std::exchange(last.at(record[0] >> 24), record[0]), record[0]);
        return 1;
    }
    DataQueue queue{52}; // wraps in the middle of records
    std::vector<std::uint32_t> last{0, 0};
};

TEST_F(DataQueueTest, KeepsPushesWholeAndInOrderWithSeveralProducers) {
    std::jthread first([this] { produce(0); }), second([this] { produce(1); });
    for (unsigned taken = 0; taken < 2 * records && !HasFailure();) taken += consume();
}

TEST_F(DataQueueTest, ClearsWholePushesWhileOthersPushAndTake) {
    {
        std::jthread clearer([this](const std::stop_token& end) {
            while (!end.stop_requested()) queue.clear();
        });
        std::jthread consumer([this](const std::stop_token& end) {
            while (!end.stop_requested()) consume();
        });
        produce(0);
    }
    queue.clear();
    EXPECT_EQ(queue.words(), 0U);
    EXPECT_TRUE(queue.push(std::vector(52, 1U)));
}

TEST_F(DataQueueTest, ClearedWordsAreGoneForAConsumerThatHasSeenThem) {
    std::uint32_t out[52] = {};
    for (std::uint32_t round = 1; round < 100; ++round) { // at every place of the ring
        for (std::uint32_t i = 0; i < 3; ++i) ASSERT_TRUE(queue.push(std::vector(recordWords, 7U)));
        ASSERT_EQ(queue.take(out, recordWords), recordWords); // and sees the tail of all three
        queue.clear();
        ASSERT_EQ(queue.take(out, recordWords), 0U);
        ASSERT_FALSE(queue.await(1, std::chrono::milliseconds(0)));
        ASSERT_TRUE(queue.push(std::vector{round}));
        ASSERT_EQ(queue.take(out, 52), 1U);
        ASSERT_EQ(out[0], round);
    }
}

} // namespace
