// SPDX-License-Identifier: MIT
// Frames through transmitter, wire and receiver, by the register protocol.
#include "SimulatedBoard.h"

namespace {

using testing::ElementsAre;

class TrafficTest : public SimulatedBoard {
protected:
    /// What the port did since the last call.
    std::vector<std::uint64_t> newCounts() {
        const OrvoSimPort now = portState(0, 0), last = std::exchange(before, now);
        return {now.sentFrames - last.sentFrames,       now.sentBytes - last.sentBytes,
                now.unsentFrames - last.unsentFrames,   now.receivedFrames - last.receivedFrames,
                now.receivedBytes - last.receivedBytes, now.receiveErrors - last.receiveErrors,
                now.ignoredFrames - last.ignoredFrames, now.registerWrites - last.registerWrites};
    }
    const Device device{0};
    OrvoSimPort before{};
};

TEST_F(TrafficTest, FramesComeBackPaddedAndChecked) {
    // Sent, with CRC generation off or not, received, and the bytes on the wire: 0 when it does not leave.
    const std::tuple<const char*, Bytes, bool, std::optional<Bytes>, std::size_t> cases[] = {
        {"padded to 60", frameOf(14), false, padded(frameOf(14)), 64},
        {"largest", frameOf(1514), false, frameOf(1514), 1518},
        {"last byte of an odd frame has no unit", frameOf(61), false, frameOf(60), 64},
        {"giant", frameOf(1516), false, std::nullopt, 1520},
        {"whole transmit buffer", frameOf(2048), false, std::nullopt, 2052},
        {"longer than the transmit buffer", frameOf(2050), false, std::nullopt, 0},
        {"nothing", {}, false, std::nullopt, 0},
        {"own sequence", withFcs(frameOf(60)), true, frameOf(60), 64},
        {"own sequence, wrong", withFcs(frameOf(60), 0x100), true, std::nullopt, 64},
        {"own sequence on a runt is covered by padding", withFcs(frameOf(56)), true, std::nullopt, 64},
    };
    for (const auto& [what, sent, hostFcs, received, wireBytes] : cases) {
        SCOPED_TRACE(what);
        device.write("GigeTxDisableCrcGeneration0", hostFcs);
        newCounts();
        device.send(0, sent);
        EXPECT_EQ(device.receive(0), received);
        const bool left = wireBytes != 0, good = received.has_value();
        EXPECT_THAT(newCounts(), ElementsAre(left, wireBytes, !left, good, good ? wireBytes : 0,
                                             left && !good, 0, sent.size() / 2 + 2));
    }
    device.write("GigeTxDisableCrcGeneration0", 0);
    device.send(0, frameOf(80)); // stays in the buffer
    device.write("GigeWriteComplete0", 0);
    device.write("GigeBufferReset0", 0);
    device.write("GigeWriteData0", 0xFFFF'1234); // only 16 bits count
    device.write("GigeWriteComplete0", 0);
    for (const auto& frame : {frameOf(80), frameOf(80), padded({0x34, 0x12})})
        EXPECT_EQ(device.receive(0), frame);
    EXPECT_EQ(device.read("GigeTxTransferActive0"), 0U);
}

TEST_F(TrafficTest, NothingPassesWhatIsSwitchedOff) {
    // The register, its values for off and on, and what still sends and receives.
    const std::tuple<const char*, unsigned, unsigned, bool, bool> cases[] = {
        {"GigE_TxStart", 0, 1, false, true},
        {"GigeTxStart0", 0, 1, false, true},
        {"GigE_RxEnable", 0, 1, true, false},
        {"GigE_Reset", 0xE, 0xF, false, false}};
    for (const auto& [name, off, on, sends, receives] : cases) {
        SCOPED_TRACE(name);
        device.write(name, off);
        EXPECT_EQ(device.read(name), off);
        newCounts();
        EXPECT_FALSE(device.carries(0));
        EXPECT_THAT(newCounts(), ElementsAre(sends, sends ? 64 : 0, !sends, 0, 0, 0, sends, 32));
        EXPECT_EQ(inject(0, 0, frameOf(60)), 0);
        EXPECT_EQ(device.receive(0).has_value(), receives);
        device.write(name, on);
        EXPECT_TRUE(device.carries(1)) << "the other ports stayed out of reset";
        passMs(500); // a reset port negotiates
        EXPECT_TRUE(device.carries(0));
    }
}

TEST_F(TrafficTest, CountersTellWhatBecameOfFrames) {
    const Device small(3);
    const auto old = portState(3, 2);
    EXPECT_EQ(small.read("GvcpFiFoNotEmpty_GigeTransceiver2"), 0U);
    EXPECT_EQ(inject(3, 2, frameOf(60), 1), 0);             // a wrong check sequence
    for (int i = 0; i < 3; ++i) small.send(2, frameOf(60)); // 31 words each, 64 fit
    EXPECT_EQ(small.read("GvcpFiFoNotEmpty_GigeTransceiver2"), 1U);
    EXPECT_EQ(small.read("GvspFiFoOverflow_GigeTransceiver2"), old.overflowFrames + 1);
    EXPECT_EQ(small.read("GigeRecvErrCnt2"), old.receiveErrors + 1);
    for (const char* name : {"GigeRecvPktCnt2", "CtrlPktReceivedCnt2"})
        EXPECT_EQ(small.read(name), old.receivedFrames + 3) << name;
    EXPECT_EQ(small.read("CtrlPktSendUiqCnt2"), old.receivedFrames - old.overflowFrames + 2);
    EXPECT_EQ(portState(3, 2).lostWords, old.lostWords + 31);
    EXPECT_EQ(portState(3, 2).queuedWords, 62U);
    EXPECT_EQ(inject(3, 2, frameOf(60)), OrvoSimFull);
    EXPECT_EQ(inject(3, 2, frameOf(1515)), OrvoSimBadValue);
}

} // namespace
