// SPDX-License-Identifier: MIT
// Packet sockets: what they make of frames that are not yet as a wire would carry them, and of too many.
#include "wire/PacketSocket.h"
#include "wire/LiveWire.h"

#include "../offload/JoinedFrame.h"
#include "TestNetwork.h"

#include <offload/FrameCut.h>

#include <linux/ethtool.h>
#include <linux/if_ether.h>
#include <linux/sockios.h>
#include <sys/ioctl.h>

namespace {

using namespace orvo::sim;
using Bytes = std::vector<std::uint8_t>;

constexpr std::array<std::uint8_t, 6> joinedSource = {2, 0, 0, 0, 0, 2}; // of JoinedFrame.h

/// Keeps frames of the test's types and of IPv4 apart from the kernel's own.
struct Port final : FrameSink {
    OrvoSimFate deliver(WireBytes frame) noexcept override {
        EXPECT_FALSE(isGoodFrame(frame)) << "only one that the port refuses";
        damaged.assign(frame.begin(), frame.end());
        return ++broken, OrvoSimWrongFcs;
    }
    OrvoSimFate deliverUnsealed(WireBytes content) noexcept override {
        if (content.size() > maxFrameBytes) return ++broken, OrvoSimTooLong;
        ++arrived;
        if (content[12] == 0x81 || content[12] == 0x88 || (content[12] == 8 && content[13] == 0) ||
            std::equal(joinedSource.begin(), joinedSource.end(), content.begin() + 6))
            frames.emplace_back(content.begin(), content.end());
        return OrvoSimPassed;
    }
    void countLost(std::uint64_t count) noexcept override { lost += count; }
    bool hasRoom() const noexcept override { return isReady; }
    std::uint64_t total() const noexcept { return arrived + broken + lost; }

    bool isReady = true;
    std::vector<Bytes> frames;
    Bytes damaged; // the last one
    std::uint64_t arrived = 0, broken = 0, lost = 0;
};

class PacketSocketTest : public testing::Test {
protected:
    void SetUp() override {
        if (const auto reason = enterOwnNetwork(); !reason.empty()) GTEST_SKIP() << reason;
        makePair();
        socket.emplace("near0");
        ASSERT_EQ(socket->attach(static_cast<int>(if_nametoindex("near0"))), 0);
        far.emplace("far0");
    }
    void TearDown() override {
        if (far) ip("link del near0");
    }
    void receiveAll() {
        for (auto before = port.total() + 1; before != port.total();) {
            before = port.total();
            socket->receive(port);
        }
    }
    std::optional<PacketSocket> socket;
    std::optional<Peer> far;
    Port port;
};

/// Switches checksums by the interface on or off, and cutting with them: when they are off, the kernel does
/// both.
void setOffload(const char* interface, bool on) {
    ethtool_value setting = {ETHTOOL_STXCSUM, on ? 1U : 0U};
    ifreq request{};
    std::strncpy(request.ifr_name, interface, IFNAMSIZ - 1);
    request.ifr_data = reinterpret_cast<char*>(&setting);
    const Descriptor socket(::socket(AF_INET, SOCK_DGRAM, 0));
    EXPECT_EQ(ioctl(socket.get(), SIOCETHTOOL, &request), 0) << std::strerror(errno);
}

TEST_F(PacketSocketTest, CutsJoinedFramesAsTheKernelDoes) {
    const Bytes tag = {0x81, 0, 0x20, 5}, twoTags = {0x88, 0xA8, 0, 7, 0x81, 0, 0, 5};
    const Bytes timestamps = {1, 1, 8, 10, 1, 2, 3, 4, 5, 6, 7, 8};
    const Bytes routerAlert = {0x94, 4, 0, 0}, padding = {0, 0, 1, 4, 0, 0, 0, 0};
    const orvo::test::JoinedForm forms[] = {
        {.payloadBytes = 1449},
        {.tcpOptions = timestamps, .tcpFlags = 0x19, .payloadBytes = 64'001},
        {.tags = tag, .ipOptions = routerAlert, .tcpFlags = 0xD9, .segmentBytes = 1337},
        {.tags = twoTags, .tcpOptions = timestamps, .payloadBytes = 65'000, .segmentBytes = 1400},
        {.tcpFlags = 0xF0, .payloadBytes = 1500, .segmentBytes = 100}, // fits into a slot
        {.isIpv6 = true, .tcpOptions = timestamps, .payloadBytes = 4345, .segmentBytes = 1428},
        {.isIpv6 = true,
         .tags = tag,
         .tcpOptions = timestamps,
         .tcpFlags = 0x99,
         .payloadBytes = 60'003,
         .segmentBytes = 1424},
        {.isIpv6 = true, .ipOptions = padding, .tcpFlags = 0x90, .segmentBytes = 1001},
        {.isTcp = false, .payloadBytes = 7001, .segmentBytes = 1472},
        {.isTcp = false, .tags = twoTags, .ipOptions = routerAlert, .segmentBytes = 999},
        {.isIpv6 = true, .isTcp = false, .tags = tag, .payloadBytes = 4001, .segmentBytes = 1200},
    };
    const Peer card("far0", ETH_P_ALL);
    card.leaveWork();
    for (const auto& form : forms) {
        SCOPED_TRACE(&form - forms);
        const auto joined = orvo::test::joinedFrame(form);
        std::vector<Bytes> byKernel;
        for (bool offload : {false, true}) {
            setOffload("far0", offload);
            port.frames.clear();
            card.send(joined.withHeader());
            socket->receive(port);
            if (!offload) byKernel.swap(port.frames);
        }
        EXPECT_EQ(byKernel.size(), (form.payloadBytes + form.segmentBytes - 1) / form.segmentBytes);
        EXPECT_EQ(port.frames, byKernel);
    }
    EXPECT_EQ(port.broken + port.lost, 0U);
}

/// Counts what the wire tells.
struct Listener final : LinkListener {
    bool farEndChanged() noexcept override { return true; }
    void framesLeft(std::uint64_t count, std::uint64_t more) noexcept override {
        frames += count, bytes += more;
    }
    void framesDidNotLeave(std::uint64_t count) noexcept override { unsent += count; }
    std::uint64_t frames = 0, bytes = 0, unsent = 0;
};

TEST_F(PacketSocketTest, AStreamArrivesAsItsFramesInOrderHoweverItIsSent) {
    PacketSocket farSocket("far0");
    ASSERT_EQ(farSocket.attach(static_cast<int>(if_nametoindex("far0"))), 0);
    const auto joined = orvo::test::joinedFrame({.payloadBytes = 60'000});
    std::vector<Bytes> frames;
    auto memory = joined.bytes;
    orvo::offload::FrameCut cut(joined.header, memory);
    for (auto frame = cut.next(); !frame.empty(); frame = cut.next())
        frames.emplace_back(frame.begin(), frame.end());
    enum { Joined, WithOffloadOff, WithTooSmallMtu };
    for (const auto how : {Joined, WithOffloadOff, WithTooSmallMtu}) {
        SCOPED_TRACE(how);
        const bool isRefused = how == WithTooSmallMtu;
        if (how == WithOffloadOff) setOffload("near0", false);
        if (isRefused) ip("link set near0 mtu 1400");
        Port unused;
        Listener listener;
        std::uint64_t posted = 0, refused = 0;
        {
            LiveWire wire("near0", std::make_unique<PacketSocket>("near0"), unused);
            wire.plugged(listener);
            for (const auto& frame : frames)
                if (wire.post(frame))
                    ++posted;
                else
                    refused += wire.transmitUnsealed(frame) ? 0U : 1U;
        }
        EXPECT_EQ(listener.frames + listener.unsent, posted);
        port.frames.clear();
        farSocket.receive(port);
        if (!isRefused) {
            EXPECT_EQ(port.frames, frames);
            EXPECT_EQ(refused + listener.unsent, 0U);
        } else { // only the last is short enough
            EXPECT_EQ(port.frames, std::vector<Bytes>{frames.back()});
            EXPECT_EQ(refused + listener.unsent, frames.size() - 1);
        }
    }
}

TEST_F(PacketSocketTest, CountsWhatNoPortTakesAndTellsAWayOnceAReason) {
    const Peer card("far0", ETH_P_ALL);
    card.leaveWork();
    auto single = orvo::test::joinedFrame({.isTcp = false, .payloadBytes = 1471});
    single.header.segmentation = 0;
    card.send(single.withHeader());
    socket->receive(port);
    ASSERT_EQ(port.frames.size(), 1U);
    EXPECT_TRUE(orvo::test::StreamReader().take(port.frames[0])) << "its checksum is finished";

    testing::internal::CaptureStderr();
    for (const std::size_t bytes : {4000U, 4000U, 900U}) {
        auto routed = orvo::test::joinedFrame({.isIpv6 = true,
                                               .ipOptions = {0, 0, 1, 4, 0, 0, 0, 0},
                                               .payloadBytes = bytes,
                                               .segmentBytes = 500});
        routed.bytes[20] = 43; // makes a routing header of it
        routed.bytes[57] = 1;  // with a station to go
        card.send(routed.withHeader());
        socket->receive(port);
        const auto sealedBytes = routed.bytes.size() + fcsBytes;
        EXPECT_EQ(port.damaged.size(), bytes == 900 ? sealedBytes : 0) << "it is short enough to be seen";
    }
    card.send(orvo::test::joinedFrame({.payloadBytes = 4000, .segmentBytes = 2000}).withHeader());
    socket->receive(port);
    EXPECT_EQ(port.broken, 5U) << "three that cannot be cut, and two segments that are too long";
    socket.reset();
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                testing::MatchesRegex(
                    "[^\n]* 'near0' [^\n]* header [^\n]*ip link set dev near0 gro_max_size 1[^\n]*\n"
                    "[^\n]* 'near0' [^\n]*MTU of 1500[^\n]*\n"
                    "[^\n]* 'near0' delivered 3 joined frames with a header [^\n]*\n"));
}

TEST_F(PacketSocketTest, CountsEveryFrameInsideAJoinedOneThatFoundNoRoom) {
    const Peer card("far0", ETH_P_ALL);
    card.leaveWork();
    const auto joined = orvo::test::joinedFrame({.payloadBytes = 60'000, .segmentBytes = 1000}).withHeader();
    constexpr unsigned sent = 1000;
    for (unsigned i = 0; i < sent; ++i) card.send(joined);
    receiveAll();
    EXPECT_GT(port.lost, 0U);
    EXPECT_EQ(port.frames.size() + port.lost, sent * 60);
}

TEST_F(PacketSocketTest, TakesLongFramesWholeThatCameBeforeTheInterfaceWentDown) {
    const Peer card("far0", ETH_P_ALL);
    card.leaveWork();
    for (std::size_t bytes : {40'000U, 50'000U})
        card.send(orvo::test::joinedFrame({.payloadBytes = bytes, .segmentBytes = 1000}).withHeader());
    ip("link set near0 down");
    socket->receive(port);
    EXPECT_EQ(port.frames.size(), 90U);
    EXPECT_EQ(port.broken + port.lost, 0U);
}

TEST_F(PacketSocketTest, ReturnsWithinMillisecondsFromAPortWithoutRoom) {
    const Peer card("far0", ETH_P_ALL);
    card.leaveWork();
    const auto joined = orvo::test::joinedFrame({.payloadBytes = 60'000, .segmentBytes = 1000}).withHeader();
    constexpr unsigned sent = 150; // 72 ms on a cable
    for (unsigned i = 0; i < sent; ++i) card.send(joined);
    port.isReady = false;
    socket->receive(port);
    EXPECT_LT(port.frames.size(), sent * 60);
    receiveAll();
    EXPECT_EQ(port.frames.size() + port.lost, sent * 60);
}

TEST_F(PacketSocketTest, KeepsTagsAndLeavesOutWhatTheInterfaceSends) {
    Bytes tagged(200, 5);
    for (std::uint8_t type : {std::uint8_t{0x81}, std::uint8_t{0x88}}) { // VLAN of a customer, or a provider
        tagged[12] = type;
        tagged[13] = type == 0x81 ? 0 : 0xA8;
        far->send(tagged);
    }
    Bytes own(100, 6);
    own[12] = 0x88;
    EXPECT_EQ(socket->send({}, own), 0);
    Peer("near0").send(own); // by another program
    socket->receive(port);
    ASSERT_EQ(port.frames.size(), 2U);
    EXPECT_EQ(port.frames[1], tagged);
    EXPECT_EQ(port.frames[0][12], 0x81);
    EXPECT_EQ(far->receive(0), std::nullopt) << "of another type";
}

TEST_F(PacketSocketTest, CountsEveryFrameThatFoundNoSlot) {
    constexpr unsigned sent = 10'000; // the ring has 8192 slots
    Bytes frame(60, 1);
    for (unsigned i = 0; i < sent; ++i) far->send(frame);
    receiveAll();
    EXPECT_GT(port.lost, 1000U);
    EXPECT_GE(port.arrived + port.lost, sent);
    const auto lost = port.lost;
    far->send(frame);
    socket->receive(port);
    EXPECT_EQ(port.lost, lost) << "none is counted twice";
}

} // namespace
