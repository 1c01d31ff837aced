// SPDX-License-Identifier: MIT
// Data queues as the host reads them, and faults of these reads.
#include "SimulatedBoard.h"

#include <thread>

namespace {

class QueueTest : public SimulatedBoard {
protected:
    static int push(unsigned queue, const Words& words) {
        return orvoSimPushWords(3, queue, words.data(), words.size());
    }
    /// The words of one read, or its negative result alone.
    Words read(unsigned queue, std::uint64_t bytes, std::uint32_t timeoutMs = 0) const {
        Words words(bytes / 4 + 1);
        const int result = OHalDataQueueReadBufferLong(small.handle, queue, words.data(), bytes, timeoutMs);
        if (result < 0) return {static_cast<std::uint32_t>(result)};
        words.resize(static_cast<std::size_t>(result) / 4);
        return words;
    }

    const Device small{3}; // 64 and 16 words
    const Words nothing{static_cast<std::uint32_t>(HalTimeout)};
};

TEST_F(QueueTest, DeliversWholeWordsInOrderAsFarAsTheyGo) {
    for (unsigned queue : {0U, 8U}) {
        SCOPED_TRACE(queue);
        push(queue, {1, 2, 3});
        push(queue, {4, 5});
        EXPECT_EQ(read(queue, 7), Words{1});
        EXPECT_EQ(read(queue, 3), Words{});
        EXPECT_EQ(read(queue, 12), (Words{2, 3, 4}));
        EXPECT_EQ(read(queue, 12), Words{5}); // less than asked for, after the time-out
        EXPECT_EQ(read(queue, 12), nothing);
    }
    EXPECT_EQ(orvoSimReportActionCommandTimeout(3, 2, 0xBEEF), 0);
    EXPECT_EQ(read(10, 4), Words{0x1'BEEF});
    for (unsigned round = 0; round < 50; ++round) { // many times around the ring
        inject(3, 1, frameOf(60 + round % 4, round));
        EXPECT_EQ(small.receive(1), padded(frameOf(60 + round % 4, round))) << round;
    }
}

TEST_F(QueueTest, TakesTransmissionsWholeAndCountsWhatItLoses) {
    const int lost = OHalDataQueueGetNrOfLostWords(small.handle, 8);
    const int transfers = OHalDataQueueGetNrOfTransfers(small.handle, 8);
    EXPECT_EQ(push(8, Words(10, 7)), 0);
    EXPECT_EQ(push(8, Words(10, 7)), OrvoSimFull); // 16 words fit
    EXPECT_EQ(push(8, Words(6, 7)), 0);
    EXPECT_EQ(push(8, Words(17, 7)), OrvoSimFull);
    EXPECT_EQ(OHalDataQueueGetStatus(small.handle, 8), 3);
    EXPECT_EQ(OHalDataQueueClear(small.handle, 8), 0);
    EXPECT_EQ(OHalDataQueueGetNrOfWords(small.handle, 8), 0);
    EXPECT_EQ(OHalDataQueueWriteBufferLong(small.handle, 8, Words(20, 9).data(), 80, 0),
              64); // there is room again
    EXPECT_EQ(OHalDataQueueWriteBuffer(small.handle, 8, Words(20, 9).data(), 80, 0), HalTimeout);
    EXPECT_EQ(read(8, 80), Words(16, 9));
    EXPECT_EQ(OHalDataQueueGetNrOfLostWords(small.handle, 8), lost + 27);
    EXPECT_EQ(OHalDataQueueGetNrOfTransfers(small.handle, 8), transfers + 3);
}

TEST_F(QueueTest, RefusesQueuesThatAreNotThere) {
    EXPECT_EQ(OHalDataQueueGetNrOfWords(Device(1).handle, 10), OrvoSimHalNoQueue); // it has two ports
    for (unsigned queue : {4U, 7U, 12U, ~0U}) {
        EXPECT_EQ(read(queue, 4), Words{static_cast<std::uint32_t>(OrvoSimHalNoQueue)}) << queue;
        EXPECT_EQ(push(queue, {1}), OrvoSimNoSuchPlace) << queue;
    }
}

TEST_F(QueueTest, WaitsOnTheClockThatIsChosen) {
    for (auto [isVirtual, limitMs] : {std::pair{1, 600'000U}, {0, 20U}}) {
        const auto before = orvoSimTime();
        orvoSimUseVirtualTime(isVirtual);
        push(0, {1, 2});
        EXPECT_EQ(read(0, 4, limitMs), Words{1}); // there: nothing to wait for
        EXPECT_EQ(read(0, 8, limitMs), Words{2}); // waits for the second word
        EXPECT_EQ(read(0, 4, limitMs), nothing);
        EXPECT_GE(orvoSimTime(), before + 2000UL * limitMs);
        EXPECT_TRUE(orvoSimTime() == before + 2000UL * limitMs || !isVirtual);
    }
    EXPECT_EQ(orvoSimAdvanceTime(1), OrvoSimBadValue);
    const auto before = orvoSimTime();
    const std::jthread firmware([] {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
        push(8, {1});
        push(8, {2, 3});
    });
    EXPECT_EQ(read(8, 12, 60'000), (Words{1, 2, 3})); // wakes up
    EXPECT_LT(orvoSimTime() - before, 60'000'000U);
}

TEST_F(QueueTest, ReadsFailOrMisreportAsOftenAsAskedFor) {
    const auto expect = [this](unsigned queue, const std::vector<int>& results) {
        std::uint32_t word = 0;
        for (int result : results)
            EXPECT_EQ(OHalDataQueueReadBufferLong(small.handle, queue, &word, 4, 0), result);
    };
    push(0, {1, 2});
    push(9, {1});
    EXPECT_EQ(orvoSimFailReads(3, 0, -7, 2), 0);
    EXPECT_EQ(orvoSimMisreportReads(3, 0, 2, 1), 0);
    orvoSimFailReads(3, 9, -5, 1);
    orvoSimFailReads(3, 9, -6, 1000); // instead of the first
    expect(0, {-7, -7, 6, 4, HalTimeout});
    expect(9, {-6, -6});
    orvoSimFailReads(3, 9, 0, 0); // over before its time
    orvoSimMisreportReads(3, 0, -4, 1);
    expect(9, {4});
    expect(0, {HalTimeout}); // no delivery, so the fault is still to come
    push(0, {1, 2});
    expect(0, {0, 4});
}

} // namespace
