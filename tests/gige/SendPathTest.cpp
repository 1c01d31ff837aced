// SPDX-License-Identifier: MIT
// The register protocol of a sent frame, and every reason to drop one.
#include "support/Concurrency.h"
#include "support/InterfaceTest.h"
#include "support/Pacing.h"

namespace orvo::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class SendPathTest : public InterfaceTest {};

TEST_F(SendPathTest, WaitsUntilIdleThenWritesWholeUnits) {
    setUpPort();
    board.registers["GigeTxTransferActive2"] = {3, 0x100, 0};
    port.addToSendQueue(frame({0x11, 0x22, 0x33, 0x44, 0x55})); // odd: the last byte has no unit
    port.transmitSendQueue();
    EXPECT_THAT(board.takeJournal(),
                ElementsAre("read GigeTxTransferActive2 0x3", "read GigeTxTransferActive2 0x100",
                            "read GigeTxTransferActive2 0", "write GigeBufferReset2 0",
                            "write GigeWriteData2 0x2211", "write GigeWriteData2 0x4433",
                            "write GigeWriteComplete2 0"));
    EXPECT_EQ(statistics()["Send"], "1 frames (9 bytes)");
}

TEST_F(SendPathTest, FramesUpTo1518BytesLeave) {
    setUpPort();
    for (const std::size_t length : {60U, 61U, 1518U, 1519U}) {
        SCOPED_TRACE(length);
        port.addToSendQueue(frame(countingBytes(length)));
        // Besides its units: the wait, begin, end.
        EXPECT_EQ(board.takeJournal().size(), length > 1518 ? 0 : 3 + length / 2);
    }
    EXPECT_THAT(takeMessages(),
                ElementsAre("4 PHY Id 'gige': Packet is too large (packet size: 1519, allowed "
                            "size: 1518)"));
    EXPECT_EQ(statistics()["Send"], "3 frames (1651 bytes)");
}

TEST_F(SendPathTest, FrameIsDroppedWhenTheTransmitterDoesNotBecomeIdle) {
    setUpPort();
    board.onRead = [](const std::string&) { advanceClock(std::chrono::milliseconds{1}); };
    const std::string busy = "Transmitter still busy after 1000 milliseconds, packet is dropped (result = ";
    const struct {
        const char* name;
        std::vector<std::uint64_t> readings; // none: they fail
        std::size_t reads;
        std::string message;
    } rows[] = {
        {"no answer", {1, 0x1FF}, 2, "Unexpected value in OHalRegisterRead(...) (result = 0x1ff)"},
        {"busy for a second", {0x102}, 1002, busy + "0x102)"},
        {"a failed read counts as busy", {}, 1002, busy + "0x1)"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        board.registers["GigeTxTransferActive2"] = row.readings;
        if (row.readings.empty()) board.failing = {"GigeTxTransferActive2"};
        port.addToSendQueue(frame(countingBytes(60)));
        const auto journal = board.takeJournal();
        EXPECT_EQ(journal.size(), row.reads);
        EXPECT_THAT(without("read", journal), IsEmpty());
        EXPECT_THAT(takeMessages(), ElementsAre("4 PHY Id 'gige': " + row.message));
    }
    EXPECT_EQ(statistics()["Send"], "0 frames (0 bytes)");

    // A thread that was held up past the limit looks once more.
    board.failing.clear();
    board.registers["GigeTxTransferActive2"] = {1, 1, 0};
    board.onRead = [](const std::string&) { advanceClock(std::chrono::seconds{2}); };
    port.addToSendQueue(frame(countingBytes(60)));
    EXPECT_EQ(statistics()["Send"], "1 frames (64 bytes)");
}

TEST_F(SendPathTest, CustomChecksumIsAppendedOnceByTheHost) {
    setUpPort();
    EXPECT_TRUE(port.supportsCustomChecksum());
    port.enableCustomChecksum(true);
    EXPECT_TRUE(port.isCustomChecksumEnabled());
    const auto sent = frame({'1', '2', '3', '4', '5', '6', '7', '8', '9', '0'}); // CRC-32 0x261daee5
    port.addToSendQueue(sent);
    port.addToSendQueue(sent);
    Journal once{"read GigeTxTransferActive2 0", "write GigeBufferReset2 0"};
    for (const char* unit : {"0x3231", "0x3433", "0x3635", "0x3837", "0x3039", "0xaee5", "0x261d"})
        once.push_back(std::string("write GigeWriteData2 ") + unit);
    once.push_back("write GigeWriteComplete2 0");
    EXPECT_EQ(board.takeJournal(), joined({{"write GigeTxDisableCrcGeneration2 0x1"}, once, once}));

    port.addToSendQueue(frame(countingBytes(1515))); // 1519 with its check sequence
    EXPECT_THAT(board.takeJournal(), IsEmpty());
    port.enableCustomChecksum(false);
    EXPECT_FALSE(port.isCustomChecksumEnabled());
    EXPECT_THAT(board.takeJournal(), ElementsAre("write GigeTxDisableCrcGeneration2 0"));
}

TEST_F(SendPathTest, ChecksumIsSwitchedByOneThreadAtATime) {
    setUpPort();
    std::future<void> other;
    bool isFirst = true;
    board.onWrite = [&](const std::string&) {
        if (!std::exchange(isFirst, false)) return;
        other = inBackground([&] { port.enableCustomChecksum(false); });
        EXPECT_TRUE(isWaiting(other)) << "between register and flag of the first";
    };
    port.enableCustomChecksum(true);
    other.get();
    EXPECT_FALSE(port.isCustomChecksumEnabled()) << "as the register was written last";
}

TEST_F(SendPathTest, FrameIsWrittenWithoutALookAtItsRegisters) {
    board.lacking = {"GigeBufferReset2", "GigeWriteData2", "GigeWriteComplete2"};
    setUpPort();
    port.addToSendQueue(frame({1, 2}));
    EXPECT_THAT(board.takeJournal(), ElementsAre("read GigeTxTransferActive2 0", "write register 0 0",
                                                 "write register 0 0x201", "write register 0 0"));
}

TEST_F(SendPathTest, FirmwareWithoutTheRegistersIsNotAsked) {
    EXPECT_FALSE(port.supportsCustomChecksum());
    port.enableCustomChecksum(true); // before setup
    board.lacking = {"GigeTxDisableCrcGeneration2", "GigeTxTransferActive2"};
    setUpPort();
    port.enableCustomChecksum(true);
    EXPECT_FALSE(port.supportsCustomChecksum());
    EXPECT_FALSE(port.isCustomChecksumEnabled());
    port.addToSendQueue(frame({1, 2}));
    EXPECT_THAT(board.takeJournal(), ElementsAre("write GigeBufferReset2 0", "write GigeWriteData2 0x201",
                                                 "write GigeWriteComplete2 0"));
}

TEST_F(SendPathTest, OverlappingSendsNeverMixTheirFrames) {
    setUpPort();
    constexpr int framesEach = 200;
    runTogether(2, [this](int sender) {
        const auto mark = static_cast<std::uint8_t>(sender + 1);
        for (int i = 0; i < framesEach; ++i) port.addToSendQueue(frame(Bytes(40, mark)));
    });
    const auto journal = board.takeJournal();
    ASSERT_EQ(journal.size(), 2U * framesEach * 23);
    for (std::size_t i = 0; i < journal.size(); i += 23) {
        ASSERT_EQ(journal[i + 1], "write GigeBufferReset2 0");
        ASSERT_EQ(journal[i + 22], "write GigeWriteComplete2 0");
        for (std::size_t k = 3; k < 22; ++k) ASSERT_EQ(journal[i + k], journal[i + 2]);
    }
    EXPECT_EQ(statistics()["Send"], "400 frames (17600 bytes)");
}

} // namespace
} // namespace orvo::test
