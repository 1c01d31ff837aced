// Frames through transmitter, wire and receiver, by the register protocol.
#include "SimulatedBoard.h"

namespace {

using testing::Optional;

class TrafficTest : public SimulatedBoard {
protected:
    void TearDown() override {
        device.write("GigeTxDisableCrcGeneration0", 0);
        SimulatedBoard::TearDown();
    }

    /// What the port did since `before`.
    static std::vector<std::uint64_t> newCounts(const OrvoSimPort& before) {
        const OrvoSimPort now = portState(0, 0);
        return {now.sentFrames - before.sentFrames,        now.sentBytes - before.sentBytes,
                now.unsentFrames - before.unsentFrames,    now.receivedFrames - before.receivedFrames,
                now.receiveErrors - before.receiveErrors,  now.ignoredFrames - before.ignoredFrames,
                now.registerWrites - before.registerWrites};
    }

    const Device device{0};
};

TEST_F(TrafficTest, FramesComeBackPaddedAndChecked) {
    struct Case {
        const char* what;
        Bytes sent;
        bool hostFcs; // CRC generation is off
        std::optional<Bytes> received;
        std::size_t wireBytes; // 0: it does not leave
    };
    const Case cases[] = {
        {"smallest", frameOf(60), false, frameOf(60), 64},
        {"padded to 60", frameOf(14), false, padded(frameOf(14)), 64},
        {"largest", frameOf(1514), false, frameOf(1514), 1518},
        {"last byte of an odd frame has no unit", frameOf(61), false, frameOf(60), 64},
        {"giant", frameOf(1516), false, std::nullopt, 1520},
        {"whole transmit buffer", frameOf(2048), false, std::nullopt, 2052},
        {"longer than the transmit buffer", frameOf(2050), false, std::nullopt, 0},
        {"nothing", {}, false, std::nullopt, 0},
        {"own sequence, smallest", withFcs(frameOf(60)), true, frameOf(60), 64},
        {"own sequence, largest", withFcs(frameOf(1514)), true, frameOf(1514), 1518},
        {"own sequence, wrong", withFcs(frameOf(60), 0x100), true, std::nullopt, 64},
        {"own sequence on a runt is covered by padding", withFcs(frameOf(56)), true, std::nullopt, 64},
        {"own sequence, giant", withFcs(frameOf(1516)), true, std::nullopt, 1520},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        device.write("GigeTxDisableCrcGeneration0", c.hostFcs ? 1 : 0);
        const auto before = portState(0, 0);
        const auto errors = device.read("GigeRecvErrCnt0");
        device.send(0, c.sent);
        EXPECT_EQ(device.receive(0), c.received);
        const bool left = c.wireBytes != 0;
        const bool good = c.received.has_value();
        EXPECT_THAT(newCounts(before), testing::ElementsAre(left, c.wireBytes, !left, good, left && !good, 0,
                                                            c.sent.size() / 2 + 2));
        EXPECT_EQ(device.read("GigeRecvErrCnt0") - errors, left && !good);
    }
}

TEST_F(TrafficTest, FrameIsTakenFromTheBufferAsItWasWritten) {
    device.send(0, frameOf(80, 1));
    device.write("GigeWriteComplete0", 0); // once more
    device.write("GigeBufferReset0", 0);
    device.write("GigeWriteData0", 0xFFFF'1234); // only 16 bits count
    device.write("GigeWriteComplete0", 0);
    EXPECT_THAT(device.receive(0), Optional(frameOf(80, 1)));
    EXPECT_THAT(device.receive(0), Optional(frameOf(80, 1)));
    EXPECT_THAT(device.receive(0), Optional(padded({0x34, 0x12})));
    EXPECT_EQ(device.read("GigeTxTransferActive0"), 0U);
}

TEST_F(TrafficTest, NothingPassesWhatIsSwitchedOff) {
    struct Case {
        const char* what;
        std::string name;
        std::uint64_t off, on;
        bool leaves; // then the receiver ignores it
    };
    const Case cases[] = {
        {"board transmitters", "GigE_TxStart", 0, 1, false},
        {"port transmitter", "GigeTxStart0", 0, 1, false},
        {"receivers", "GigE_RxEnable", 0, 1, true},
        {"reset line", "GigE_Reset", 0xE, 0xF, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        device.write(c.name, c.off);
        EXPECT_EQ(device.read(c.name), c.off);
        const auto before = portState(0, 0);
        device.send(0, frameOf(60));
        EXPECT_THAT(newCounts(before),
                    testing::ElementsAre(c.leaves, c.leaves ? 64 : 0, !c.leaves, 0, 0, c.leaves, 32));
        EXPECT_EQ(device.receive(0), std::nullopt);
        EXPECT_EQ(orvoSimInjectFrame(0, 0, frameOf(60).data(), 60, 0), 0);
        EXPECT_EQ(device.receive(0).has_value(), c.name.find("Tx") != std::string::npos);
        device.write(c.name, c.on);
        passMs(500); // a reset port negotiates
        device.send(0, frameOf(60));
        EXPECT_TRUE(device.receive(0));
    }
    device.send(1, frameOf(60)); // the other ports stayed out of reset
    EXPECT_TRUE(device.receive(1));
}

TEST_F(TrafficTest, InjectedFramesArriveAsFromTheWire) {
    const auto inject = [](const Bytes& frame, std::uint32_t mask) {
        return orvoSimInjectFrame(0, 0, frame.data(), frame.size(), mask);
    };
    const auto errors = device.read("GigeRecvErrCnt0");
    EXPECT_EQ(inject(frameOf(61), 0), 0);
    EXPECT_EQ(inject(frameOf(1514), 0), 0);
    EXPECT_EQ(inject(frameOf(5), 0), 0);
    EXPECT_EQ(inject(frameOf(100), 1), 0);
    EXPECT_THAT(device.receive(0), Optional(padded(frameOf(61)))); // lengthened by a zero byte
    EXPECT_THAT(device.receive(0), Optional(frameOf(1514)));
    EXPECT_THAT(device.receive(0), Optional(padded(frameOf(5))));
    EXPECT_EQ(device.receive(0), std::nullopt);
    EXPECT_EQ(device.read("GigeRecvErrCnt0") - errors, 1U);

    EXPECT_EQ(inject(frameOf(1515), 0), OrvoSimBadValue);
    EXPECT_EQ(inject({}, 0), OrvoSimBadValue);
    EXPECT_EQ(orvoSimInjectFrame(0, 0, nullptr, 60, 0), OrvoSimBadValue);
    EXPECT_EQ(orvoSimInjectFrame(0, 4, "x", 1, 0), OrvoSimNoSuchPlace);
}

TEST_F(TrafficTest, CountersTellWhatBecameOfFrames) {
    const Device small(3);
    const auto counters = [&small] {
        return std::vector{small.read("GigeRecvPktCnt2"), small.read("CtrlPktReceivedCnt2"),
                           small.read("CtrlPktSendUiqCnt2"), small.read("GvspFiFoOverflow_GigeTransceiver2"),
                           small.read("GvcpFiFoNotEmpty_GigeTransceiver2")};
    };
    const auto before = counters();
    EXPECT_EQ(before[4], 0U);
    for (int i = 0; i < 3; ++i) small.send(2, frameOf(60)); // 31 words each, 64 fit
    const auto after = counters();
    const std::vector<std::uint64_t> grown{before[0] + 3, before[1] + 3, before[2] + 2, before[3] + 1, 1};
    EXPECT_EQ(after, grown);
    const auto state = portState(3, 2);
    EXPECT_EQ(state.queuedWords, 62U);
    EXPECT_EQ(state.overflowFrames, after[3]);
    EXPECT_EQ(state.lostWords, 31 * after[3]);
    EXPECT_EQ(orvoSimInjectFrame(3, 2, frameOf(60).data(), 60, 0), OrvoSimFull);
}

} // namespace
