// SPDX-License-Identifier: MIT
#include <offload/FrameCut.h>

#include "JoinedFrame.h"

#include <gmock/gmock.h>

namespace orvo::offload {
namespace {

using namespace test;

const FrameBytes twoTags = {0x88, 0xA8, 0, 7, 0x81, 0, 0, 5};
const FrameBytes routerAlert = {0x94, 4, 0, 0}, padding = {0, 0, 1, 4, 0, 0, 0, 0};

/// Cuts in the middle of other bytes, which must stay.
std::vector<FrameBytes> cutOf(const JoinedFrame& joined) {
    constexpr std::size_t around = 64;
    FrameBytes memory(joined.bytes.size() + 2 * around, 0xEE);
    std::copy(joined.bytes.begin(), joined.bytes.end(), memory.begin() + around);
    FrameCut cut(joined.header, std::span(memory).subspan(around, joined.bytes.size()));
    EXPECT_EQ(cut.refusal(), std::nullopt);
    std::vector<FrameBytes> frames;
    for (auto frame = cut.next(); !frame.empty(); frame = cut.next())
        frames.emplace_back(frame.begin(), frame.end());
    for (std::size_t i = 0; i < around; ++i) EXPECT_EQ(memory[i] & memory[memory.size() - 1 - i], 0xEE);
    return frames;
}

TEST(FrameCutTest, FramesAreRightAndCarryTheSameStream) {
    const JoinedForm forms[] = {
        {},
        {.tcpOptions = timestamps},
        {.tags = tag, .ipOptions = routerAlert, .tcpFlags = 0x19},
        {.tags = twoTags, .tcpOptions = timestamps, .tcpFlags = 0x90},
        {.isIpv6 = true},
        {.isIpv6 = true, .tags = tag, .ipOptions = padding, .tcpOptions = timestamps, .tcpFlags = 0xD9},
        {.isTcp = false},
        {.isTcp = false, .tags = twoTags, .ipOptions = routerAlert},
        {.isIpv6 = true, .isTcp = false, .ipOptions = padding},
    };
    for (auto form : forms)
        for (std::size_t payloadBytes : {1U, 1447U, 1448U, 1449U, 4345U, 65'000U})
            for (const auto segmentBytes : {std::uint16_t{1448}, std::uint16_t{1333}, std::uint16_t{100}}) {
                SCOPED_TRACE(testing::Message()
                             << &form - forms << ' ' << payloadBytes << ' ' << segmentBytes);
                form.payloadBytes = payloadBytes;
                form.segmentBytes = segmentBytes;
                const auto joined = joinedFrame(form);
                const auto frames = cutOf(joined);
                StreamReader reader;
                for (const auto& frame : frames) ASSERT_TRUE(reader.take(frame));
                EXPECT_EQ(reader.payload, joined.payload);
                EXPECT_EQ(frames.size(), (payloadBytes + segmentBytes - 1) / segmentBytes);
                EXPECT_EQ(
                    framesInside(joined.header, FrameView(joined.bytes).first(200), joined.bytes.size()),
                    frames.size());
                if (!form.isTcp) continue;
                EXPECT_EQ(readFrame(frames.front())->flags & 0xF0, form.tcpFlags & 0xF0);
                EXPECT_EQ(reader.flags & 0x7F, form.tcpFlags & 0x7F);
            }
}

TEST(FrameCutTest, KeepsTheAbsenceOfAChecksumInUdpAndFinishesWhatIsNotJoined) {
    auto joined = joinedFrame({.isTcp = false});
    joined.header.flags = 0;
    joined.bytes[40] = joined.bytes[41] = 0;
    for (const auto& frame : cutOf(joined)) EXPECT_EQ(read16(frame, 40), 0U);

    for (bool isTcp : {true, false}) {
        auto single = joinedFrame({.isTcp = isTcp, .payloadBytes = 33});
        single.header.segmentation = OffloadHeader::notJoined;
        const auto frames = cutOf(single);
        ASSERT_EQ(frames.size(), 1U);
        EXPECT_TRUE(StreamReader().take(frames[0]));
        single.header.checksumStart = 60'000; // beyond the frame: it stays as it is
        EXPECT_EQ(cutOf(single)[0], single.bytes);
    }
}

TEST(FrameCutTest, RefusesWhatItCannotCut) {
    const auto tcp = joinedFrame({});
    const auto v6 = joinedFrame({.isIpv6 = true, .ipOptions = padding});
    struct {
        const char* what;
        JoinedFrame frame;
        std::vector<std::pair<std::size_t, std::uint8_t>> changes;
        Uncuttable reason;
    } rows[] = {
        {"tunnel of IP in IP", tcp, {{23, 4}}, Uncuttable::Encapsulated},
        {"tunnel of GRE", tcp, {{23, 47}}, Uncuttable::Encapsulated},
        {"tunnel over UDP", joinedFrame({.isTcp = false}), {}, Uncuttable::Encapsulated},
        {"TCP of the other IP inside", v6, {}, Uncuttable::Encapsulated},
        {"SCTP", tcp, {{23, 132}}, Uncuttable::Unknown},
        {"fragment", tcp, {{20, 0x20}}, Uncuttable::Unknown},
        {"MPLS", tcp, {{12, 0x88}, {13, 0x47}}, Uncuttable::Unknown},
        {"route that has not ended", v6, {{20, 43}, {57, 1}}, Uncuttable::Unknown},
        {"longer than its field says", v6, {{18, 0}, {19, 0}}, Uncuttable::TooLong},
        {"length beyond the frame", tcp, {{16, 0xFF}}, Uncuttable::Broken},
        {"IP header too short", tcp, {{14, 0x44}}, Uncuttable::Broken},
        {"TCP header too short", tcp, {{46, 0x40}}, Uncuttable::Broken},
        {"another version", tcp, {{14, 0x65}}, Uncuttable::Broken},
        {"no segment size", tcp, {}, Uncuttable::Broken},
        {"fragments of UDP", tcp, {}, Uncuttable::Unknown},
    };
    rows[2].frame.header.segmentation = OffloadHeader::tcpOverIpv4;
    rows[3].frame.header.segmentation = OffloadHeader::tcpOverIpv4;
    rows[13].frame.header.segmentBytes = 0;
    rows[14].frame.header.segmentation = 3;
    for (auto& row : rows) {
        for (const auto& [at, value] : row.changes) row.frame.bytes[at] = value;
        FrameCut cut(row.frame.header, row.frame.bytes);
        EXPECT_EQ(cut.refusal(), row.reason) << row.what;
        EXPECT_TRUE(cut.next().empty()) << row.what;
    }
    for (std::size_t bytes = 0; bytes < tcp.bytes.size(); ++bytes) { // cut off anywhere
        auto start = FrameBytes(tcp.bytes.begin(), tcp.bytes.begin() + static_cast<std::ptrdiff_t>(bytes));
        EXPECT_EQ(FrameCut(tcp.header, start).refusal(), Uncuttable::Broken);
    }
}

} // namespace
} // namespace orvo::offload
