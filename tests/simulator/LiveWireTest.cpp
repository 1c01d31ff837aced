// SPDX-License-Identifier: MIT
// Wires to network interfaces, in a network of the test's own.
#include "SimulatedBoard.h"
#include "TestNetwork.h"

#include <zlib.h>

namespace {

using testing::HasSubstr;

/// A frame of the test's type.
Bytes typed(std::size_t bytes, unsigned first = 1) {
    Bytes frame = frameOf(bytes, first);
    frame[12] = testEtherType >> 8;
    frame[13] = testEtherType & 0xFF;
    return frame;
}

class LiveWireTest : public SimulatedBoard {
protected:
    void SetUp() override {
        if (const auto reason = enterOwnNetwork(); !reason.empty()) GTEST_SKIP() << reason;
        SimulatedBoard::SetUp();
        before = portState(0, 0);
    }
    void TearDown() override {
        if (enterOwnNetwork().empty()) setWire(0, 0, "loopback");
        for (const char* name : {"near0", "tap0"})
            if (if_nametoindex(name) != 0) ip(std::string("link del ") + name);
    }
    /// Plugs port 0 to a network; somebody else can be at the interface returned. Null where there is none.
    static const char* plug(bool isTap) {
        if (isTap && access("/dev/net/tun", R_OK | W_OK) != 0) return nullptr;
        if (!isTap) makePair();
        setWire(0, 0, isTap ? "tap:tap0" : "packet:near0");
        if (isTap) ip("link set tap0 up");
        EXPECT_TRUE(linkBecomes(1));
        return isTap ? "tap0" : "far0";
    }
    template <class Condition> static bool becomes(Condition condition) {
        for (int i = 0; i < 3000 && !condition(); ++i) usleep(1000);
        return condition();
    }
    /// The link follows an interface in real time, and negotiates in virtual time.
    static bool linkBecomes(int up) {
        return becomes([up] {
            passMs(400);
            return portState(0, 0).linkUp == up;
        });
    }
    /// The next frame of the test's type in port 0's queue. It comes in real time, the port waits in virtual.
    std::optional<Bytes> receive(int attempts = 10'000) const {
        for (int i = 0; i < attempts; ++i) {
            auto frame = device.receive(0, 2);
            if (frame && (*frame)[12] == testEtherType >> 8) return frame;
            if (!frame) usleep(1000);
        }
        return std::nullopt;
    }
    const Device device{0};
    OrvoSimPort before{};
};

TEST_F(LiveWireTest, CarriesFramesBothWays) {
    for (bool isTap : {false, true}) {
        SCOPED_TRACE(isTap ? "tap" : "packet");
        const char* const interface = plug(isTap);
        if (!interface) continue;
        const Peer far(interface);
        for (std::size_t bytes : {14U, 61U, 1513U, 1514U}) {
            far.send(typed(bytes));
            EXPECT_EQ(receive(), padded(typed(bytes))) << bytes;
        }
        for (std::size_t bytes : {14U, 60U, 1514U}) {
            device.send(0, typed(bytes));
            EXPECT_EQ(far.receive(), padded(typed(bytes))) << bytes;
        }
        EXPECT_EQ(receive(2), std::nullopt) << "own frames do not come back";
        for (unsigned i = 0; i < 200; ++i) far.send(typed(1514, i)); // an image
        for (unsigned i = 0; i < 200; ++i) EXPECT_EQ(receive(), typed(1514, i));
        setWire(0, 0, "none");
    }
    EXPECT_EQ(portState(0, 0).lostWords, before.lostWords);
}

TEST_F(LiveWireTest, ABurstLeavesInOrderAndWholeAndIsCountedAtOnce) {
    const Peer far(plug(false));
    constexpr unsigned frames = 60; // which the peer has room for
    for (unsigned i = 0; i < frames; ++i) device.send(0, typed(1000, i));
    const auto sent = portState(0, 0);
    EXPECT_EQ(sent.sentFrames - before.sentFrames, frames);
    EXPECT_EQ(sent.sentBytes - before.sentBytes, frames * 1004);
    for (unsigned i = 0; i < frames; ++i) EXPECT_EQ(far.receive(0), typed(1000, i));
    for (unsigned i = 0; i < frames; ++i) device.send(0, typed(1000, i));
    setWire(0, 0, "none"); // sends what is left
    for (unsigned i = 0; i < frames; ++i) EXPECT_EQ(far.receive(0), typed(1000, i));
}

TEST_F(LiveWireTest, FramesThatNoNetworkCardTakesEndOnTheWire) {
    const Peer far(plug(false));
    device.write("GigeTxDisableCrcGeneration0", 1);
    for (unsigned long errorMask : {1UL, 0UL}) {
        Bytes frame = typed(100);
        auto fcs = crc32_z(0, frame.data(), frame.size()) ^ errorMask;
        for (int i = 0; i < 4; ++i, fcs >>= 8) frame.push_back(static_cast<std::uint8_t>(fcs));
        device.send(0, frame);
    }
    device.write("GigeTxDisableCrcGeneration0", 0);
    device.send(0, typed(1516));
    EXPECT_EQ(far.receive(), typed(100)) << "the second, without its sequence";
    EXPECT_EQ(far.receive(0), std::nullopt);
    EXPECT_EQ(portState(0, 0).sentFrames - before.sentFrames, 3U) << "they left the port";
}

TEST_F(LiveWireTest, JumboFramesAreReceiveErrors) {
    for (bool isTap : {false, true}) {
        const char* const interface = plug(isTap);
        if (!interface) continue;
        for (const char* name : {"near0", interface}) ip(std::string("link set mtu 9000 ") + name);
        const auto errors = device.read("GigeRecvErrCnt0");
        const Peer far(interface);
        testing::internal::CaptureStderr();
        for (std::size_t bytes : {1515U, 9000U, 60U}) far.send(typed(bytes));
        EXPECT_EQ(receive(), typed(60)) << interface;
        EXPECT_EQ(device.read("GigeRecvErrCnt0") - errors, 2U) << interface;
        EXPECT_THAT(testing::internal::GetCapturedStderr(),
                    testing::MatchesRegex("[^\n]*MTU of 1500[^\n]*\n"));
        setWire(0, 0, "none");
    }
}

TEST_F(LiveWireTest, FollowsTheInterface) {
    for (bool isTap : {false, true}) {
        const char* const interface = plug(isTap);
        if (!interface) continue;
        const std::string name = isTap ? "tap0" : "near0";
        const auto make = [&] {
            if (!isTap) return makePair();
            ip("tuntap add tap0 mode tap"); // the wire makes none where somebody took it away
            ip("link set tap0 up");
        };
        const std::tuple<std::string, std::function<void()>, const char*> cases[] = {
            {"link set " + name + " down", [&] { ip("link set " + name + " up"); }, "is down"},
            {"link del " + name, make, "is (down|gone)"}, // it goes down on its way
        };
        for (const auto& [away, back, reason] : cases) {
            SCOPED_TRACE(away);
            const auto unsent = portState(0, 0).unsentFrames;
            testing::internal::CaptureStderr();
            ip(away);
            for (int i = 0; i < 20; ++i) device.send(0, typed(60));
            EXPECT_TRUE(linkBecomes(0));
            device.send(0, typed(60));
            EXPECT_EQ(portState(0, 0).unsentFrames - unsent, 21U);
            back();
            EXPECT_TRUE(linkBecomes(1));
            EXPECT_THAT(testing::internal::GetCapturedStderr(),
                        testing::MatchesRegex("[^\n]*'" + name + "' " + reason + "[^\n]*\n[^\n]* is up\n"));
            const Peer far(interface);
            far.send(typed(60, 2));
            EXPECT_EQ(receive(), typed(60, 2));
            device.send(0, typed(60, 3));
            EXPECT_EQ(far.receive(), typed(60, 3));
        }
        setWire(0, 0, "none");
    }
}

TEST_F(LiveWireTest, RefusedWiresTellWhy) {
    makePair();
    const std::pair<std::string, const char*> cases[] = {
        {"tap:", "names no network interface; write tap:NAME or packet:IFNAME"},
        {"packet:sixteen-letters-", "a name has at most 15 characters, this has 16"},
        {"tap:tap%d", "a name has no space, '/', ':' or '%'"},
        {"packet:absent0", "interface 'absent0' does not exist; `ip link` shows those that do"},
        {"tap:far0", "the name is taken by an interface that is not a TAP"},
    };
    for (const auto& [wire, reason] : cases)
        EXPECT_THAT(setWire(0, 0, wire, OrvoSimBadValue), HasSubstr(reason)) << wire;
    setWire(0, 0, "packet:near0");
    EXPECT_EQ(wireOf(0, 0), "packet:near0");
    EXPECT_THAT(setWire(0, 1, "packet:near0", OrvoSimBadValue), HasSubstr("is used by port 0/0 already"));
    if (geteuid() != 0) return;
    ASSERT_EQ(seteuid(65534), 0);
    const auto packet = setWire(0, 0, "packet:far0", OrvoSimBadValue);
    const auto tap = setWire(0, 0, "tap:tap0", OrvoSimBadValue);
    ASSERT_EQ(seteuid(0), 0);
    EXPECT_THAT(packet, HasSubstr("needs the permission for raw sockets"));
    EXPECT_THAT(tap,
                testing::ContainsRegex("by: sudo (ip tuntap add tap0 mode tap user|chmod)|modprobe tun"));
}

} // namespace
