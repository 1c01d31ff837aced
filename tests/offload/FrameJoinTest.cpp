// SPDX-License-Identifier: MIT
#include <offload/FrameCut.h>
#include <offload/FrameJoin.h>

#include "JoinedFrame.h"

#include <gmock/gmock.h>

#include <random>

namespace orvo::offload {
namespace {

using namespace test;

std::vector<FrameBytes> cutAgain(JoinedFrame joined) {
    std::vector<FrameBytes> frames;
    FrameCut cut(joined.header, joined.bytes);
    for (auto frame = cut.next(); !frame.empty(); frame = cut.next())
        frames.emplace_back(frame.begin(), frame.end());
    return frames;
}

/// What comes out of the join, cut again.
struct Passed {
    std::vector<FrameBytes> frames;
    std::vector<std::size_t> together; ///< how many frames were joined each time
};

Passed pass(const std::vector<FrameBytes>& frames) {
    Passed passed;
    FrameJoin join;
    const auto flush = [&] {
        if (join.frames() == 0) return;
        passed.together.push_back(join.frames());
        const auto [header, bytes] = join.take();
        EXPECT_EQ(join.frames(), 0U);
        for (auto& frame : cutAgain(JoinedFrame{header, {bytes.begin(), bytes.end()}, {}}))
            passed.frames.push_back(std::move(frame));
    };
    for (const auto& frame : frames) {
        if (join.isOpen() && join.add(frame)) continue;
        flush();
        if (join.add(frame)) continue;
        passed.together.push_back(1);
        passed.frames.push_back(frame);
    }
    flush();
    return passed;
}

void put16(FrameBytes& bytes, std::size_t at, std::size_t value) {
    bytes[at] = static_cast<std::uint8_t>(value / 256), bytes[at + 1] = static_cast<std::uint8_t>(value);
}

/// Makes the checksums of a changed frame of TCP over IPv4 right, whose IP header is at `at`.
void repair(FrameBytes& frame, std::size_t at) {
    put16(frame, at + 10, 0), put16(frame, at + 36, 0);
    put16(frame, at + 10, 0xFFFF - foldedSum(FrameView(frame).subspan(at, 20), 0));
    const auto end = at + read16(frame, at + 2);
    const auto datagram = FrameView(frame).subspan(at + 20, end - at - 20);
    const auto pseudo = foldedSum(FrameView(frame).subspan(at + 12, 8), 6 + datagram.size());
    put16(frame, at + 36, 0xFFFF - foldedSum(datagram, pseudo));
}

TEST(FrameJoinTest, WhatIsJoinedIsCutIntoTheSameFrames) {
    const JoinedForm forms[] = {{},
                                {.tcpOptions = timestamps, .tcpFlags = 0x19},
                                {.tags = tag, .ipOptions = {0x94, 4, 0, 0}, .tcpFlags = 0xD8},
                                {.isIpv6 = true, .tcpFlags = 0x10},
                                {.isIpv6 = true, .tags = tag, .tcpOptions = timestamps, .tcpFlags = 0x90},
                                {.isIpv6 = true, .ipOptions = {0, 0, 1, 4, 0, 0, 0, 0}},
                                {.isTcp = false}};
    std::mt19937 random(7);
    const auto below = [&random](std::size_t limit) { return random() % limit; };
    for (int round = 0; round < 300; ++round) {
        std::vector<FrameBytes> frames;
        for (std::size_t flow = 0; flow < 5; ++flow) {
            auto form = forms[below(std::size(forms))];
            form.payloadBytes = 1 + below(12'000);
            form.segmentBytes = static_cast<std::uint16_t>(20 + below(1440));
            for (auto& frame : cutAgain(joinedFrame(form))) {
                const auto fate = below(40);
                if (fate == 0) continue;
                if (fate == 1) frame[below(frame.size())] ^= static_cast<std::uint8_t>(1U << below(8));
                if (fate == 2) frame.resize(frame.size() + 1 + below(6));
                if (fate == 3) frame.resize(below(frame.size()));
                const auto place = fate == 4 ? below(frames.size() + 1) : frames.size();
                frames.insert(frames.begin() + static_cast<std::ptrdiff_t>(place), frame);
            }
        }
        ASSERT_EQ(pass(frames).frames, frames) << round;
    }
}

TEST(FrameJoinTest, AWholeStreamIsOneFrameAsTheSystemLeavesItToItsNetworkCard) {
    for (const bool isIpv6 : {false, true})
        for (const auto flags : std::initializer_list<std::uint8_t>{0x10, 0x19, 0xD8}) {
            auto joined =
                joinedFrame({.isIpv6 = isIpv6, .tags = tag, .tcpFlags = flags, .payloadBytes = 60'001});
            FrameJoin join;
            for (const auto& frame : cutAgain(joined)) ASSERT_TRUE(join.isOpen() && join.add(frame));
            const auto made = join.take();
            EXPECT_TRUE(std::ranges::equal(made.bytes, joined.bytes));
            EXPECT_EQ(std::memcmp(&made.header, &joined.header, sizeof made.header), 0);
        }
    const auto longer = joinedFrame({.payloadBytes = 65'000}), more = joinedFrame({.payloadBytes = 1448});
    auto frames = cutAgain(longer);
    frames.back() = cutAgain(more).front(); // would exceed an IP packet's length field
    for (auto& frame : frames) frame[47] = 0x10;
    for (std::size_t i = 0; i < frames.size(); ++i) {
        const auto sequence = 0xFFFFFC01 + i * 1448;
        put16(frames[i], 38, sequence >> 16 & 0xFFFF), put16(frames[i], 40, sequence & 0xFFFF);
        put16(frames[i], 18, (0xFFFE + i) & 0xFFFF);
        repair(frames[i], 14);
    }
    frames.push_back(frames.back());
    EXPECT_THAT(pass(frames).together, testing::ElementsAre(45, 1));
    FrameBytes tags;
    for (int i = 0; i < 30; ++i) tags.insert(tags.end(), tag.begin(), tag.end());
    const auto tagged = cutAgain(joinedFrame({.tags = tags, .payloadBytes = 65'490, .segmentBytes = 1310}));
    EXPECT_EQ(pass(tagged).frames, tagged); // headers take the room for the last
}

TEST(FrameJoinTest, JoinsNothingThatDiffersInMoreThanItsPlaceInTheStream) {
    constexpr std::size_t ip = 18, tcp = ip + 20; // behind a tag
    const auto frames = cutAgain(
        joinedFrame({.tags = tag, .tcpOptions = timestamps, .tcpFlags = 0x10, .payloadBytes = 3 * 1448}));
    ASSERT_THAT(pass(frames).together, testing::ElementsAre(3));
    constexpr struct {
        const char* what;
        std::size_t at;
        std::uint8_t change;
        bool isRepaired = true;
    } rows[] = {{"destination", 5, 1},
                {"VLAN", 15, 1},
                {"priority of the VLAN", 14, 0x20},
                {"congestion", ip + 1, 1},
                {"identification", ip + 5, 1},
                {"don't fragment", ip + 6, 0x40},
                {"time to live", ip + 8, 1},
                {"address", ip + 15, 1},
                {"port", tcp + 3, 1},
                {"sequence", tcp + 7, 1},
                {"acknowledgement", tcp + 11, 1},
                {"reserved bit", tcp + 12, 1},
                {"SYN", tcp + 13, 2},
                {"RST", tcp + 13, 4},
                {"URG", tcp + 13, 0x20},
                {"ACK", tcp + 13, 0x10},
                {"ECE", tcp + 13, 0x40},
                {"CWR", tcp + 13, 0x80},
                {"window", tcp + 15, 1},
                {"urgent", tcp + 19, 1},
                {"time stamp", tcp + 31, 1},
                {"checksum of IPv4", ip + 10, 1, false},
                {"checksum of TCP", tcp + 16, 1, false},
                {"payload", tcp + 99, 1, false}};
    for (const auto& row : rows) {
        auto changed = frames;
        changed[1][row.at] ^= row.change;
        if (row.isRepaired) repair(changed[1], ip);
        const auto passed = pass(changed);
        EXPECT_EQ(passed.together.front(), 1U) << row.what;
        EXPECT_EQ(passed.frames, changed) << row.what;
    }
    EXPECT_THAT(pass({frames[0], frames[2]}).together, testing::ElementsAre(1, 1)); // a gap
    auto shorter = frames;
    shorter[1].resize(shorter[1].size() - 2);
    put16(shorter[1], ip + 2, shorter[1].size() - ip);
    repair(shorter[1], ip);
    EXPECT_THAT(pass(shorter).together, testing::ElementsAre(2, 1)); // a short frame is the last
    auto pushed = frames;
    pushed[1][tcp + 13] |= 8;
    repair(pushed[1], ip);
    EXPECT_THAT(pass(pushed).together, testing::ElementsAre(2, 1));
}

} // namespace
} // namespace orvo::offload
