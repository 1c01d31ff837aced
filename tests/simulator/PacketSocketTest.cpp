// SPDX-License-Identifier: MIT
// Packet sockets: what they make of frames that are not yet as a wire would carry them, and of too many.
#include "wire/PacketSocket.h"

#include "TestNetwork.h"

namespace {

using namespace orvo::sim;
using Bytes = std::vector<std::uint8_t>;

/// A port that is always ready; keeps frames of the test's type and of IPv4 apart from the kernel's own.
struct Port final : FrameSink {
    OrvoSimFate deliver(WireBytes frame) noexcept override {
        EXPECT_TRUE(frame.empty()) << "only as a sign of a bad one";
        return ++broken, OrvoSimTooShort;
    }
    OrvoSimFate deliverUnsealed(WireBytes content) noexcept override {
        if (content.size() > maxFrameBytes) return ++broken, OrvoSimTooLong;
        ++arrived;
        if (content[12] == 0x81 || content[12] == 0x88 || (content[12] == 8 && content[13] == 0))
            frames.emplace_back(content.begin(), content.end());
        return OrvoSimPassed;
    }
    void countLost(std::uint64_t count) noexcept override { lost += count; }
    bool hasRoom() const noexcept override { return true; }

    std::vector<Bytes> frames;
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
    std::optional<PacketSocket> socket;
    std::optional<Peer> far;
    Port port;
};

/// The header that offload takes, and a frame of IPv4 with this protocol, whose checksum is not finished.
Bytes unfinished(std::uint8_t protocol, std::uint8_t segmentation, std::uint8_t checksumAt,
                 std::size_t bytes) {
    Bytes frame(10 + bytes, 0xA7);
    const std::uint8_t offload[] = {1, segmentation, 54, 0, 0xE8, 3, 34, 0, checksumAt, 0};
    std::copy(std::begin(offload), std::end(offload), frame.begin());
    const std::uint8_t headers[] = {8,
                                    0,
                                    0x45,
                                    0,
                                    static_cast<std::uint8_t>((bytes - 14) >> 8),
                                    static_cast<std::uint8_t>(bytes - 14),
                                    0,
                                    0,
                                    0,
                                    0,
                                    64,
                                    protocol};
    std::copy(std::begin(headers), std::end(headers), frame.begin() + 22);
    return frame;
}

TEST_F(PacketSocketTest, FinishesWhatOffloadLeftUndone) {
    const Peer card("far0", 0x0800);
    card.leaveWork();
    for (std::size_t bytes : {100U, 1513U}) {
        auto frame = unfinished(17, 0, 6, bytes);
        card.send(frame);
        port.frames.clear();
        socket->receive(port);
        ASSERT_EQ(port.frames.size(), 1U);
        unsigned sum = 0; // with the checksum in place of the one that the frame was sent with, all ones
        for (std::size_t i = 34; i < bytes; ++i) {
            const bool isSent = i == 40 || i == 41;
            sum += static_cast<unsigned>(port.frames[0][i]) << (i % 2 == 0 ? 8 : 0);
            if (isSent) sum += 0xA7U << (i % 2 == 0 ? 8 : 0);
        }
        while (sum > 0xFFFF) sum = (sum & 0xFFFF) + (sum >> 16);
        EXPECT_EQ(sum, 0xFFFFU) << bytes;
        frame.erase(frame.begin(), frame.begin() + 10);
        std::copy_n(port.frames[0].begin() + 40, 2, frame.begin() + 40);
        EXPECT_EQ(port.frames[0], frame) << "nothing else changed";
    }
    testing::internal::CaptureStderr();
    for (int i = 0; i < 2; ++i) card.send(unfinished(6, 1, 16, 3000)); // three segments in one
    socket->receive(port);
    EXPECT_EQ(port.broken, 2U);
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                testing::MatchesRegex("[^\n]* 'near0' [^\n]*ethtool -K near0 gro off lro off[^\n]*\n"));
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
    EXPECT_EQ(socket->send(own), 0);
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
    for (int i = 0; i < 3; ++i) socket->receive(port);
    EXPECT_GT(port.lost, 1000U);
    EXPECT_GE(port.arrived + port.lost, sent);
    const auto lost = port.lost;
    far->send(frame);
    socket->receive(port);
    EXPECT_EQ(port.lost, lost) << "none is counted twice";
}

} // namespace
