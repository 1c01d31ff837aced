// Data queues as the host reads them.
#include "SimulatedBoard.h"

#include <array>
#include <chrono>
#include <thread>

namespace {

using Words = std::vector<std::uint32_t>;
using namespace std::chrono_literals;

class QueueTest : public SimulatedBoard {
protected:
    static int push(unsigned queue, const Words& words) {
        return orvoSimPushWords(3, queue, words.data(), words.size());
    }
    /// The words of one read, or its negative result alone.
    Words read(unsigned queue, std::uint64_t bytes, std::uint32_t timeoutMs = 0) const {
        Words words(bytes / 4 + 1);
        const int result = OHalDataQueueReadBufferLong(small.handle(), queue, words.data(), bytes, timeoutMs);
        if (result < 0) return {static_cast<std::uint32_t>(result)};
        words.resize(static_cast<std::size_t>(result) / 4);
        return words;
    }

    const Device small{3}; // 64 and 16 words
    const Words nothing{static_cast<std::uint32_t>(HalTimeout)};
};

TEST_F(QueueTest, DeliversWholeWordsInOrderAsFarAsTheyGo) {
    for (unsigned queue : {0U, 9U}) {
        SCOPED_TRACE(queue);
        EXPECT_EQ(push(queue, {1, 2, 3}), 0);
        EXPECT_EQ(push(queue, {4, 5}), 0);
        EXPECT_EQ(OHalDataQueueGetNrOfWords(small.handle(), queue), 5);
        EXPECT_EQ(read(queue, 7), Words{1});
        EXPECT_EQ(read(queue, 3), Words{});
        EXPECT_EQ(read(queue, 12), (Words{2, 3, 4}));
        EXPECT_EQ(read(queue, 12), Words{5}); // less than asked for, after the time-out
        EXPECT_EQ(read(queue, 12), nothing);
    }
    EXPECT_EQ(orvoSimReportActionCommandTimeout(3, 2, 0xBEEF), 0);
    EXPECT_EQ(read(10, 4), Words{0x1'BEEF});
}

TEST_F(QueueTest, TakesTransmissionsWholeAndCountsWhatItLoses) {
    const int lostBefore = OHalDataQueueGetNrOfLostWords(small.handle(), 8);
    const int transfersBefore = OHalDataQueueGetNrOfTransfers(small.handle(), 8);
    const Words ten(10, 7);
    EXPECT_EQ(push(8, ten), 0);
    EXPECT_EQ(push(8, ten), OrvoSimFull); // 16 words fit
    EXPECT_EQ(push(8, {1, 2, 3, 4, 5, 6}), 0);
    EXPECT_EQ(push(8, {1}), OrvoSimFull);
    EXPECT_EQ(push(8, Words(17, 1)), OrvoSimFull);
    EXPECT_EQ(OHalDataQueueGetStatus(small.handle(), 8), 3);
    EXPECT_EQ(OHalDataQueueGetNrOfLostWords(small.handle(), 8) - lostBefore, 28);
    EXPECT_EQ(OHalDataQueueGetNrOfTransfers(small.handle(), 8) - transfersBefore, 2);

    EXPECT_EQ(OHalDataQueueClear(small.handle(), 8), 0);
    EXPECT_EQ(OHalDataQueueGetNrOfWords(small.handle(), 8), 0);
    EXPECT_EQ(push(8, Words(16, 9)), 0); // the room is there again, though nobody has read
    EXPECT_EQ(read(8, 64), Words(16, 9));
    EXPECT_EQ(OHalDataQueueGetNrOfLostWords(small.handle(), 8) - lostBefore, 28);
}

TEST_F(QueueTest, KeepsItsContentAcrossTheEndOfTheRing) {
    for (std::uint32_t round = 0; round < 50; ++round) {
        SCOPED_TRACE(round);
        const Bytes frame = frameOf(60 + round % 4, round);
        EXPECT_EQ(orvoSimInjectFrame(3, 1, frame.data(), frame.size(), 0), 0);
        EXPECT_EQ(small.receive(1), padded(frame));
    }
}

TEST_F(QueueTest, CanBeWrittenByTheHost) {
    const Words words{1, 2, 3};
    EXPECT_EQ(OHalDataQueueWriteBufferLong(small.handle(), 11, words.data(), 13, 0), 12);    // whole words
    EXPECT_EQ(OHalDataQueueWriteBuffer(small.handle(), 11, Words(20, 4).data(), 80, 0), 52); // what fits
    EXPECT_EQ(OHalDataQueueWriteBuffer(small.handle(), 11, words.data(), 4, 0), HalTimeout);
    EXPECT_EQ(OHalDataQueueFlush(small.handle(), 11), 0);
    std::array<std::uint32_t, 4> out{};
    EXPECT_EQ(OHalDataQueueReadBuffer(small.handle(), 11, out.data(), 16, 0), 16);
    EXPECT_THAT(out, testing::ElementsAre(1, 2, 3, 4));
}

TEST_F(QueueTest, RefusesQueuesAndBuffersThatAreNotThere) {
    std::uint32_t word = 0;
    for (unsigned queue : {4U, 7U, 12U, 0xFFFF'FFFFU}) {
        SCOPED_TRACE(queue);
        EXPECT_EQ(OHalDataQueueReadBufferLong(small.handle(), queue, &word, 4, 0), OrvoSimHalNoQueue);
        EXPECT_EQ(OHalDataQueueClear(small.handle(), queue), OrvoSimHalNoQueue);
        EXPECT_EQ(orvoSimPushWords(3, queue, &word, 1), OrvoSimNoSuchPlace);
    }
    const Device older(1); // two ports
    EXPECT_EQ(OHalDataQueueGetNrOfWords(older.handle(), 10), OrvoSimHalNoQueue);
    EXPECT_EQ(OHalDataQueueReadBufferLong(small.handle(), 0, nullptr, 4, 0), OrvoSimHalBadArgument);
    EXPECT_EQ(orvoSimPushWords(3, 0, nullptr, 1), OrvoSimBadValue);
}

TEST_F(QueueTest, VirtualTimeOutsPassOnTheClockOnly) {
    const auto start = std::chrono::steady_clock::now();
    const auto before = orvoSimTime();
    EXPECT_EQ(read(0, 4, 60'000), nothing);
    EXPECT_EQ(orvoSimTime() - before, 60'000'000U);
    push(0, {1});
    EXPECT_EQ(read(0, 4, 60'000), Words{1}); // there: nothing to wait for
    push(0, {1});
    EXPECT_EQ(read(0, 8, 60'000), Words{1});
    EXPECT_EQ(orvoSimTime() - before, 120'000'000U);
    EXPECT_LT(std::chrono::steady_clock::now() - start, 60s);
}

TEST_F(QueueTest, RealTimeOutsAreWaitedFor) {
    orvoSimUseVirtualTime(0);
    EXPECT_EQ(orvoSimAdvanceTime(1), OrvoSimBadValue);
    const auto before = orvoSimTime();
    EXPECT_EQ(read(0, 4, 20), nothing);
    EXPECT_GE(orvoSimTime() - before, 20'000U);
    push(0, {1});
    EXPECT_EQ(read(0, 8, 20), Words{1}); // waits for the second word
    EXPECT_GE(orvoSimTime() - before, 40'000U);
}

TEST_F(QueueTest, WakesAReaderThatWaits) {
    orvoSimUseVirtualTime(0);
    const auto before = orvoSimTime();
    std::thread firmware([] {
        std::this_thread::sleep_for(5ms);
        push(8, {1});
        push(8, {2, 3});
    });
    EXPECT_EQ(read(8, 12, 60'000), (Words{1, 2, 3}));
    EXPECT_LT(orvoSimTime() - before, 60'000'000U);
    firmware.join();
}

} // namespace
