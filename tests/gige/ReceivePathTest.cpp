// SPDX-License-Identifier: MIT
// One received frame, every way in which a transmission can be bad, and the CRC watch.
#include "support/InterfaceTest.h"

#include <orvo/tools/logging/Logger.h>

#include <climits>

namespace orvo::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr std::uint32_t receiveQueue = 2;

class ReceivePathTest : public InterfaceTest {
protected:
    /// Bytes of the frame that the next call returns; empty without one.
    Bytes receive() {
        bool received = true;
        const auto frame = port.receive(&received);
        EXPECT_EQ(received, frame != nullptr);
        const QByteArray data = frame ? frame->data() : QByteArray();
        return Bytes(data.begin(), data.end());
    }
};

TEST_F(ReceivePathTest, FrameIsReadWithTwoReads) {
    setUpPort();
    const Bytes sent = countingBytes(64);
    board.queues[receiveQueue] = FakeBoard::transmission(sent);
    EXPECT_EQ(receive(), sent);
    EXPECT_THAT(board.takeJournal(), ElementsAre("queue 2 4 bytes 100 ms", "queue 2 128 bytes 100 ms"));
    EXPECT_THAT(takeMessages(), IsEmpty());

    // Bits above 15 are ignored, except the end flag of the last word.
    auto noisy = FakeBoard::transmission(sent);
    for (auto& word : noisy[1].words) word |= 0xFFFF0000;
    board.queues[receiveQueue] = noisy;
    EXPECT_EQ(port.receive(nullptr)->length(), 64);
    EXPECT_EQ(statistics()["Recv"], "2 frames (128 bytes)");
}

TEST_F(ReceivePathTest, DeliveryThatHoldsLessThanItClaimsShowsNothingOfEarlierFrames) {
    setUpPort();
    const Bytes sent = countingBytes(60);
    board.queues[receiveQueue] = FakeBoard::transmission(sent);
    EXPECT_EQ(receive(), sent);
    auto cut = FakeBoard::transmission(sent);
    cut[1].words.resize(7); // of 30, and with them the end flag
    board.queues[receiveQueue] = cut;
    EXPECT_THAT(receive(), IsEmpty());
    EXPECT_THAT(takeMessages(),
                testing::Contains(HasSubstr("... EOT: 0 - TRANSMISSION_SIZE: 120 - RESULT: 120")));
    cut[1].words.insert(cut[1].words.end(), {0, 0, 0x1'0000});
    cut[0].words = {20};
    cut[1].result = 40; // ten words
    board.queues[receiveQueue] = cut;
    Bytes shown(sent.begin(), sent.begin() + 14);
    shown.resize(20);
    EXPECT_EQ(receive(), shown);
}

TEST_F(ReceivePathTest, NothingOfAFrameStaysBehindWhateverItsReadReturns) {
    setUpPort();
    setThreshold(6);
    const std::uint32_t sizes[] = {2, 61, 64, 66, 127, 1518}; // whole blocks of vectors, and parts of one
    const auto test = [this](std::uint32_t frameBytes, int result, std::uint32_t laterBytes) {
        SCOPED_TRACE(testing::Message()
                     << frameBytes << " bytes, result " << result << ", then " << laterBytes);
        // The first read stores every word; the second claims to, but stores only the last.
        board.queues[receiveQueue] = {{4, {frameBytes}},
                                      {result, std::vector<std::uint32_t>((frameBytes + 1) / 2, 0xFFFF'EEEE)},
                                      {4, {laterBytes}},
                                      {static_cast<int>(2 * laterBytes), {0x1'0000}, laterBytes / 2 - 1}};
        receive();
        EXPECT_EQ(receive(), Bytes(laterBytes, 0));
    };
    for (const auto frameBytes : sizes) {
        const int asked = static_cast<int>(2 * frameBytes);
        const int results[] = {asked, asked - 1, asked - 2, asked - 4, asked + 1, asked + 4, asked / 2, 4, 3,
                               0,     -1,        -asked,    -2120,     -2130,     INT_MAX,   INT_MIN};
        for (const int result : results)
            for (const auto laterBytes : sizes) test(frameBytes, result, laterBytes);
    }
}

/// What a bad transmission must lead to.
struct Outcome {
    const char* counter; // the statistics line that grows by one, null for none
    Messages messages;
    Journal tail; // of the journal after the reads of the queue
};

const Outcome nothing{nullptr, {}, {}};

const Outcome zeroSize{"zerosize transmissions",
                       {"4 PHY Id 'gige': transmission size of zero received from "
                        "OHalDataQueueReadBufferLong(...) [lost words: 7]!"},
                       {"lost words of 2"}};

Outcome failedRead(const std::string& result) {
    return {"UIQ read errors",
            {"4 PHY Id 'gige': Error(s) in OHalDataQueueReadBufferLong(...) (result = " + result + ")"},
            {"sleep 100000"}};
}

Outcome noEnd(const std::string& word, const std::string& expected, const std::string& received) {
    return {"invalid EOTs",
            {"4 PHY Id 'gige': end of transmission validity check failed! [lost words: 7]",
             "2 PHY Id 'gige': ... EOT: " + word + " - TRANSMISSION_SIZE: " + expected +
                 " - RESULT: " + received + "\n"},
            {"lost words of 2"}};
}

Outcome wrongSize(const std::string& expected, const std::string& received) {
    return {"invalid transmission sizes",
            {"4 PHY Id 'gige': transmission size validity check failed! (expected: " + expected +
             ", received: " + received + ") [lost words: 7]"},
            {"lost words of 2"}};
}

TEST_F(ReceivePathTest, EachBadTransmissionEndsInItsCounterAndMessage) {
    setUpPort();
    board.lostWords = 7;
    const struct {
        const char* name;
        std::vector<QueueAnswer> answers;
        Outcome outcome;
    } rows[] = {
        {"nothing arrives", {}, nothing},
        {"nothing follows the size", {{4, {64}}}, nothing},
        {"size read fails", {{-5, {}}}, failedRead("-5")},
        {"data read fails", {{4, {64}}, {-2130, {}}}, failedRead("-2130")},
        {"size zero", {{4, {0}}}, zeroSize},
        {"part of a size", {{3, {64}}}, wrongSize("4", "3")},
        {"more than a size", {{8, {64}}}, wrongSize("4", "8")},
        {"no end flag", {{4, {4}}, {8, {0x10001, 0x1234}}}, noEnd("0x1234", "8", "8")},
        {"no end flag, word 0", {{4, {4}}, {8, {1, 0}}}, noEnd("0", "8", "8")},
        {"short, its last word without end flag", {{4, {4}}, {4, {1}}}, noEnd("0x1", "8", "4")},
        {"4 short", {{4, {6}}, {8, {1, 0x10002}}}, wrongSize("12", "8")},
        {"3 short", {{4, {6}}, {9, {1, 0x10002}}}, wrongSize("12", "9")},
        {"1 short", {{4, {6}}, {11, {1, 0x10002}}}, wrongSize("12", "11")},
        {"more than asked for, no end flag", {{4, {1}}, {4, {1}}}, wrongSize("2", "4")},
        {"far more than asked for", {{4, {2}}, {0x7FFFFFFF, {0x10000}}}, wrongSize("4", "2147483647")},
        {"less than a word", {{4, {2}}, {3, {0x10000}}}, wrongSize("4", "3")},
        {"no byte", {{4, {1}}, {0, {}}}, wrongSize("2", "0")},
        {"more than a frame can be", {{4, {65537}}}, wrongSize("131074", "0")},
        {"size all ones", {{4, {0xFFFFFFFF}}}, wrongSize("4294967294", "0")},
    };
    auto before = statistics();
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        board.queues[receiveQueue] = row.answers;
        EXPECT_THAT(receive(), IsEmpty());
        const auto& [counter, messages, tail] = row.outcome;
        EXPECT_EQ(takeMessages(), messages);
        EXPECT_EQ(without("queue 2", board.takeJournal()), tail);
        if (counter) before[counter] = std::to_string(std::stoi(before[counter]) + 1);
        EXPECT_EQ(statistics(), before);

        board.queues[receiveQueue] =
            FakeBoard::transmission(countingBytes(60)); // ends every run of like problems
        EXPECT_EQ(receive().size(), 60U);
        before = statistics();
    }
}

TEST_F(ReceivePathTest, DeliveriesOfHalfUnitsAreTaken) {
    setUpPort();
    const std::vector<std::uint32_t> words30(30, 0x15544);
    board.queues[receiveQueue] = {{4, {61}},    {120, words30},
                                  {4, {61}},    {122, words30},
                                  {4, {6}},     {10, {0x201, 0x1'0403}},
                                  {4, {65536}}, {131072, std::vector<std::uint32_t>(32768, 0x10000)}};
    EXPECT_EQ(receive().size(), 60U) << "2 bytes short: what was delivered is the frame";
    const auto odd = receive();
    ASSERT_EQ(odd.size(), 61U);
    EXPECT_EQ(odd[59], 0x55);
    EXPECT_EQ(odd[60], 0) << "no word holds it";
    EXPECT_THAT(receive(), ElementsAre(1, 2, 3, 4, 0)) << "2 bytes short of an even size";
    EXPECT_EQ(receive().size(), 65536U);
}

TEST_F(ReceivePathTest, RunsOfLikeProblemsAreReportedOnce) {
    setUpPort();
    board.queues[receiveQueue] = std::vector<QueueAnswer>(10, {-1, {}});
    for (int i = 0; i < 10; ++i) receive();
    EXPECT_THAT(takeMessages(), testing::SizeIs(1));
    EXPECT_EQ(board.takeJournal().size(), 20U) << "each read and its pause";
    board.queues[receiveQueue] = {{4, {0}}, {4, {0}}, {-2120, {}}, {4, {0}}, {-1, {}}};
    for (int i = 0; i < 5; ++i) receive();
    EXPECT_THAT(takeMessages(), ElementsAre(HasSubstr("size of zero"), HasSubstr("result = -1")));
    board.queues[receiveQueue] = {
        {4, {4}}, {-3, {}}, {4, {0}}}; // a size that is not zero ends the run of zeros
    receive();
    receive();
    EXPECT_THAT(takeMessages(), ElementsAre(HasSubstr("result = -3"), HasSubstr("size of zero")));

    // The flags are set whether or not the message passes, and nothing is fetched for one that does not.
    const auto badTransmissionAndFailedRead = [this] {
        board.queues[receiveQueue] = {{4, {60}}, {8, {1, 2}}, {-1, {}}};
        board.takeJournal();
        receive();
        receive();
        EXPECT_THAT(board.takeJournal(), testing::Not(testing::Contains("lost words of 2")));
    };
    port.logger()->setThreadEnabled(false);
    badTransmissionAndFailedRead();
    port.logger()->setThreadEnabled(true);
    setThreshold(5);
    badTransmissionAndFailedRead();
    setThreshold(2);
    board.queues[receiveQueue] = {{-1, {}}};
    receive();
    EXPECT_THAT(takeMessages(), IsEmpty());
    EXPECT_EQ(statistics()["UIQ read errors"], "15");
}

TEST_F(ReceivePathTest, CrcWatchReportsGrowth) {
    board.registers["GigeRecvErrCnt2"] = {10};
    setUpPort();
    receive();
    EXPECT_THAT(board.takeJournal(), ElementsAre("queue 2 4 bytes 100 ms")) << "off by default";
    core::zume::c_MONITOR_CRC_ERRORS = true;
    board.registers["GigeRecvErrCnt2"] = {13, 13, 11};
    for (int i = 0; i < 3; ++i) receive();
    board.failing = {"GigeRecvErrCnt2"};
    receive();
    core::zume::c_MONITOR_CRC_ERRORS = false;
    EXPECT_THAT(takeMessages(), ElementsAre("4 PHY Id 'gige': Detected 3 new CRC packet errors",
                                            "4 PHY Id 'gige': Detected -2 new CRC packet errors",
                                            "4 PHY Id 'gige': Detected -11 new CRC packet errors"));
}

} // namespace
} // namespace orvo::test
