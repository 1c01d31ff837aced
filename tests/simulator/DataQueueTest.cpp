// The ring of a data queue under several threads.
#include "board/DataQueue.h"

#include <gmock/gmock.h>

#include <atomic>
#include <thread>
#include <vector>

namespace orvo::sim {

namespace {

constexpr std::size_t recordWords = 5;

/// Producers push records of one number five times over, with their own bits on top, counting up.
void produce(DataQueue& queue, std::uint32_t producer, std::uint32_t records) {
    for (std::uint32_t i = 0; i < records; ++i) {
        const std::vector<std::uint32_t> record(recordWords, producer << 24 | i);
        while (!queue.push(record)) std::this_thread::yield();
    }
}

/// Takes a record if there is one; it must be whole, and later than the one before of the same producer.
bool consume(DataQueue& queue, std::vector<std::int64_t>& last) {
    std::uint32_t record[recordWords] = {};
    if (!queue.await(recordWords, std::chrono::milliseconds(1))) return false;
    const std::size_t words = queue.take(record, recordWords);
    if (words == 0) return false; // cleared in between
    EXPECT_EQ(words, recordWords);
    EXPECT_THAT(record, testing::Each(record[0]));
    auto& before = last.at(record[0] >> 24);
    EXPECT_GT(std::int64_t{record[0] & 0xFF'FFFF}, before);
    before = record[0] & 0xFF'FFFF;
    return true;
}

TEST(DataQueueTest, KeepsPushesWholeAndInOrderWithSeveralProducers) {
    constexpr std::uint32_t records = 20'000;
    DataQueue queue(52); // wraps in the middle of records
    std::vector<std::thread> producers;
    for (std::uint32_t p = 0; p < 2; ++p) producers.emplace_back([&queue, p] { produce(queue, p, records); });
    std::vector<std::int64_t> last(2, -1);
    for (std::uint32_t taken = 0; taken < 2 * records && !testing::Test::HasFailure();)
        taken += consume(queue, last) ? 1U : 0U;
    for (auto& producer : producers) producer.join();
    EXPECT_EQ(queue.words(), 0U);
    EXPECT_EQ(queue.transfers(), 2 * records);
}

TEST(DataQueueTest, ClearsWholePushesWhileOthersPushAndTake) {
    DataQueue queue(52);
    std::atomic<bool> isOver{false};
    std::thread producer([&queue] { produce(queue, 0, 30'000); });
    std::thread clearer([&] {
        while (!isOver) queue.clear();
    });
    std::thread consumer([&] {
        std::vector<std::int64_t> last(1, -1);
        while (!isOver && !testing::Test::HasFailure()) consume(queue, last);
    });
    producer.join();
    isOver = true;
    clearer.join();
    consumer.join();
    queue.clear();
    EXPECT_EQ(queue.words(), 0U);
    EXPECT_EQ(queue.roomWords(), 52U);
    const std::vector<std::uint32_t> all(52, 1);
    EXPECT_TRUE(queue.push(all));
}

} // namespace

} // namespace orvo::sim
