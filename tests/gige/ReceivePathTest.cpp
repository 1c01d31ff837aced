// One received frame, every way in which a transmission can be bad, and the CRC watch.
#include "gige/Transmission.h"
#include "support/InterfaceTest.h"

namespace orvo::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::uint32_t queueId = 2;

class ReceivePathTest : public InterfaceTest {
protected:
    /// The frame that the next call returns, without a frame nothing.
    Bytes receive() {
        bool received = true;
        const auto frame = port.receive(&received);
        EXPECT_EQ(received, frame != nullptr);
        if (!frame) return {};
        const QByteArray data = frame->data();
        return Bytes(data.begin(), data.end());
    }
};

TEST_F(ReceivePathTest, FrameIsReadWithTwoReads) {
    setUpPort();
    const Bytes sent = countingBytes(64);
    board.queue(queueId, FakeBoard::transmission(sent));
    EXPECT_EQ(receive(), sent);
    EXPECT_THAT(board.takeJournal(), ElementsAre("queue 2 4 bytes 100 ms", "queue 2 128 bytes 100 ms"));
    EXPECT_THAT(takeMessages(), IsEmpty());

    auto noisy =
        FakeBoard::transmission(sent); // everything above bit 15 means nothing, but the last end flag
    for (auto& word : noisy[1].words) word |= 0xFFFF0000;
    board.queue(queueId, noisy);
    EXPECT_EQ(port.receive(nullptr)->length(), 64);
    EXPECT_EQ(statistics()["Recv"], "2 frames (128 bytes)");
}

/// What the queue gives, and all that must come of it.
struct BadTransmission {
    const char* name;
    std::vector<QueueAnswer> answers;
    const char* counter; // the statistics line that grows by one, null for none
    Messages messages;
    Journal tail; // of the journal after the reads of the queue
};

TEST_F(ReceivePathTest, EachBadTransmissionEndsInItsCounterAndMessage) {
    setUpPort();
    board.lostWords = 7;
    const Journal asksLostWords{"lost words of 2"};
    const auto wrongSize = [](const std::string& expected, const std::string& received) {
        return Messages{"4 PHY Id 'gige': transmission size validity check failed! (expected: " + expected +
                        ", received: " + received + ") [lost words: 7]"};
    };
    const auto noEnd = [](const std::string& word, const std::string& expected, const std::string& received) {
        return Messages{"4 PHY Id 'gige': end of transmission validity check failed! [lost words: 7]",
                        "2 PHY Id 'gige': ... EOT: " + word + " - TRANSMISSION_SIZE: " + expected +
                            " - RESULT: " + received + "\n"};
    };
    const std::string failed = "4 PHY Id 'gige': Error(s) in OHalDataQueueReadBufferLong(...) (result = ";
    const BadTransmission rows[] = {
        {"nothing arrives", {}, nullptr, {}, {}},
        {"nothing follows the size", {{4, {64}}}, nullptr, {}, {}},
        {"size read fails", {{-5, {}}}, "UIQ read errors", {failed + "-5)"}, {"sleep 100000"}},
        {"data read fails",
         {{4, {64}}, {-2130, {}}},
         "UIQ read errors",
         {failed + "-2130)"},
         {"sleep 100000"}},
        {"size zero",
         {{4, {0}}},
         "zerosize transmissions",
         {"4 PHY Id 'gige': transmission size of zero received from OHalDataQueueReadBufferLong(...) [lost "
          "words: 7]!"},
         asksLostWords},
        {"no end flag",
         {{4, {4}}, {8, {0x10001, 0x1234}}},
         "invalid EOTs",
         noEnd("0x1234", "8", "8"),
         asksLostWords},
        {"no end flag, word 0", {{4, {4}}, {8, {1, 0}}}, "invalid EOTs", noEnd("0", "8", "8"), asksLostWords},
        {"short, its last word without end flag",
         {{4, {4}}, {4, {1}}},
         "invalid EOTs",
         noEnd("0x1", "8", "4"),
         asksLostWords},
        {"short",
         {{4, {6}}, {8, {1, 0x10002}}},
         "invalid transmission sizes",
         wrongSize("12", "8"),
         asksLostWords},
        {"longer than asked for",
         {{4, {61}}, {124, std::vector<std::uint32_t>(31, 0x10000)}},
         "invalid transmission sizes",
         wrongSize("122", "124"),
         asksLostWords},
        {"far longer than asked for",
         {{4, {2}}, {0x7FFFFFFF, {0x10000}}},
         "invalid transmission sizes",
         wrongSize("4", "2147483647"),
         asksLostWords},
        {"less than a word",
         {{4, {2}}, {3, {0x10000}}},
         "invalid transmission sizes",
         wrongSize("4", "3"),
         asksLostWords},
        {"size one", {{4, {1}}, {0, {}}}, "invalid transmission sizes", wrongSize("2", "0"), asksLostWords},
        {"more than a frame can be",
         {{4, {65537}}},
         "invalid transmission sizes",
         wrongSize("131074", "0"),
         asksLostWords},
        {"size all ones",
         {{4, {0xFFFFFFFF}}},
         "invalid transmission sizes",
         wrongSize("4294967294", "0"),
         asksLostWords},
    };
    auto before = statistics();
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        board.queue(queueId, row.answers);
        EXPECT_THAT(receive(), IsEmpty());
        EXPECT_EQ(takeMessages(), row.messages);
        auto journal = board.takeJournal();
        std::erase_if(journal, [](auto& line) { return line.starts_with("queue 2"); });
        EXPECT_EQ(journal, row.tail);
        if (row.counter) before[row.counter] = std::to_string(std::stoi(before[row.counter]) + 1);
        EXPECT_EQ(statistics(), before);

        board.queue(queueId, FakeBoard::transmission(countingBytes(60))); // ends every run of like problems
        EXPECT_EQ(receive().size(), 60U);
        before = statistics();
    }
}

TEST_F(ReceivePathTest, DeliveriesOfHalfUnitsAreTaken) {
    setUpPort();
    const std::vector<std::uint32_t> words30(30, 0x15544);
    board.queue(queueId, {{4, {61}},
                          {120, words30},
                          {4, {61}},
                          {122, words30},
                          {4, {65536}},
                          {131072, std::vector<std::uint32_t>(32768, 0x10000)}});
    EXPECT_EQ(receive().size(), 60U) << "2 bytes short: what was delivered is the frame";
    const auto odd = receive();
    ASSERT_EQ(odd.size(), 61U);
    EXPECT_EQ(odd[59], 0x55);
    EXPECT_EQ(odd[60], 0) << "no word holds it";
    EXPECT_EQ(receive().size(), 65536U);
}

TEST_F(ReceivePathTest, RunsOfLikeProblemsAreReportedOnce) {
    setUpPort();
    for (int i = 0; i < 10; ++i) board.queue(queueId, {{-1, {}}});
    for (int i = 0; i < 10; ++i) receive();
    EXPECT_THAT(takeMessages(), testing::SizeIs(1));
    EXPECT_EQ(board.takeJournal().size(), 20U) << "each read and its pause";
    board.queue(queueId, {{4, {0}}, {4, {0}}, {-2120, {}}, {4, {0}}, {-1, {}}});
    for (int i = 0; i < 5; ++i) receive();
    EXPECT_THAT(takeMessages(),
                ElementsAre(testing::HasSubstr("size of zero"), testing::HasSubstr("result = -1")));
    board.queue(queueId, {{4, {4}}, {-3, {}}, {4, {0}}}); // a size that is not zero ends the run of zeros
    receive();
    receive();
    EXPECT_THAT(takeMessages(),
                ElementsAre(testing::HasSubstr("result = -3"), testing::HasSubstr("size of zero")));

    // The flags are set whether or not the message passes, and nothing is fetched for one that does not.
    setThreshold(5);
    board.queue(queueId, {{4, {60}}, {8, {1, 2}}, {-1, {}}});
    board.takeJournal();
    receive();
    receive();
    EXPECT_THAT(board.takeJournal(), testing::Not(testing::Contains("lost words of 2")));
    setThreshold(2);
    board.queue(queueId, {{-1, {}}});
    receive();
    EXPECT_THAT(takeMessages(), IsEmpty());
    EXPECT_EQ(statistics()["UIQ read errors"], "14");
}

TEST_F(ReceivePathTest, CrcWatchReportsGrowth) {
    board.answer("GigeRecvErrCnt2", {10});
    setUpPort();
    receive();
    EXPECT_THAT(board.takeJournal(), ElementsAre("queue 2 4 bytes 100 ms")) << "off unless the host wants it";
    core::zume::c_MONITOR_CRC_ERRORS = true;
    board.answer("GigeRecvErrCnt2", {13, 13, 11});
    for (int i = 0; i < 3; ++i) receive();
    board.failReads("GigeRecvErrCnt2");
    receive();
    core::zume::c_MONITOR_CRC_ERRORS = false;
    EXPECT_THAT(takeMessages(), ElementsAre("4 PHY Id 'gige': Detected 3 new CRC packet errors",
                                            "4 PHY Id 'gige': Detected -2 new CRC packet errors",
                                            "4 PHY Id 'gige': Detected -11 new CRC packet errors"));
}

TEST(Transmission, ChecksComeInOrder) {
    using core::zume::checkTransmission;
    using core::zume::TransmissionVerdict;
    const std::uint32_t ended[] = {0, 0x10000}, open[] = {0x10000, 0};
    const struct {
        const std::uint32_t* words;
        std::uint32_t requested;
        int delivered;
        TransmissionVerdict verdict;
    } rows[] = {
        {ended, 8, 8, TransmissionVerdict::Good},      {ended, 10, 8, TransmissionVerdict::Good},
        {ended, 9, 8, TransmissionVerdict::WrongSize}, {ended, 11, 8, TransmissionVerdict::WrongSize},
        {ended, 7, 8, TransmissionVerdict::WrongSize}, {ended, 0, 0, TransmissionVerdict::WrongSize},
        {open, 8, 8, TransmissionVerdict::NoEnd},      {open, 20, 8, TransmissionVerdict::NoEnd},
        {open, 4, 8, TransmissionVerdict::WrongSize},  {ended, 0xFFFFFFFE, 8, TransmissionVerdict::WrongSize},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.requested << " requested, " << row.delivered << " delivered");
        EXPECT_EQ(checkTransmission(row.words, row.requested, row.delivered), row.verdict);
    }
}

} // namespace
} // namespace orvo::test
