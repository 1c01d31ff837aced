// SPDX-License-Identifier: MIT
#include "wire/BurstSender.h"

#include "../offload/JoinedFrame.h"

#include <offload/FrameCut.h>

#include <gmock/gmock.h>

#include <future>

namespace {

using namespace orvo::sim;
using orvo::offload::OffloadHeader;
using Bytes = std::vector<std::uint8_t>;

std::vector<Bytes> cutOf(const OffloadHeader& header, Bytes bytes) {
    std::vector<Bytes> frames;
    orvo::offload::FrameCut cut(header, bytes);
    for (auto frame = cut.next(); !frame.empty(); frame = cut.next())
        frames.emplace_back(frame.begin(), frame.end());
    return frames;
}

/// 40 frames of one TCP stream, between two others.
std::vector<Bytes> burst() {
    const auto joined = orvo::test::joinedFrame({.payloadBytes = 40 * 1448});
    auto frames = cutOf(joined.header, joined.bytes);
    frames.insert(frames.begin(), Bytes(60, 1));
    frames.emplace_back(60, 2);
    return frames;
}

class BurstSenderTest : public testing::Test, protected LinkListener {
protected:
    bool farEndChanged() noexcept override { return true; }
    void framesLeft(std::uint64_t frames, std::uint64_t bytes) noexcept override {
        left += frames;
        leftBytes += bytes;
    }
    void framesDidNotLeave(std::uint64_t frames) noexcept override { unsent += frames; }

    bool send(const OffloadHeader& header, WireBytes frame, bool isPatient) {
        mayGoOn.wait(false);
        patience.push_back(isPatient);
        if (refuses && refuses(header, frame)) return false;
        for (auto& one : cutOf(header, {frame.begin(), frame.end()})) sent.push_back(std::move(one));
        ++writes;
        return true;
    }
    /// Posts the frames while the first cannot leave yet.
    void post(BurstSender& sender, const std::vector<Bytes>& frames) {
        sender.setMtu(1500);
        EXPECT_FALSE(sender.post(frames[0])) << "a single frame is the caller's";
        while (!sender.post(frames[0])) { // where that took too long for a burst
        }
        for (std::size_t i = 1; i < frames.size(); ++i) ASSERT_TRUE(sender.post(frames[i]));
    }
    void goOn() {
        mayGoOn = true;
        mayGoOn.notify_all();
    }
    const BurstSender::Send exit = [this](const OffloadHeader& header, WireBytes frame, bool isPatient) {
        return send(header, frame, isPatient);
    };
    std::atomic<bool> mayGoOn{false};
    std::function<bool(const OffloadHeader&, WireBytes)> refuses;
    std::vector<Bytes> sent;
    std::vector<bool> patience;
    std::size_t writes = 0;
    std::uint64_t left = 0, leftBytes = 0, unsent = 0;
};

TEST_F(BurstSenderTest, AStreamLeavesByOneCallAndOthersKeepTheirPlaces) {
    const auto frames = burst();
    BurstSender sender(exit, *this);
    post(sender, frames);
    EXPECT_FALSE(sender.settle(std::chrono::milliseconds{0}));
    goOn();
    EXPECT_TRUE(sender.settle());
    EXPECT_EQ(sent, frames);
    EXPECT_EQ(writes, 3U);
    EXPECT_EQ(left, frames.size());
    EXPECT_EQ(leftBytes, 2 * 64 + 40 * (1448 + 54 + 4));
    EXPECT_THAT(patience, testing::Each(true));
}

TEST_F(BurstSenderTest, FramesOfAJoinedOneThatCannotLeaveAreTriedAndCountedSingly) {
    const auto frames = burst();
    refuses = [&](const OffloadHeader& header, WireBytes frame) {
        return header.isJoined() || std::ranges::equal(frame, frames[7]);
    };
    BurstSender sender(exit, *this);
    post(sender, frames);
    goOn();
    EXPECT_TRUE(sender.settle());
    EXPECT_EQ(left, frames.size() - 1);
    EXPECT_EQ(unsent, 1U);
    std::vector<bool> waits(frames.size() + 1, true); // one more for the joined frame
    waits[9] = false;                                 // behind the one that waited in vain
    EXPECT_EQ(patience, waits);
    auto others = frames;
    others.erase(others.begin() + 7);
    EXPECT_EQ(sent, others);
}

TEST_F(BurstSenderTest, JoinsNoFramesThatAreTooLongForTheInterface) {
    {
        BurstSender sender(exit, *this);
        post(sender, burst());
        sender.setMtu(1487); // a frame of the stream has 1,488 behind its Ethernet header
        goOn();
    } // what is left is sent
    EXPECT_EQ(writes, burst().size());
}

TEST_F(BurstSenderTest, ASenderWaitsForRoom) {
    std::atomic<bool> mayEnd{false};
    refuses = [&](const OffloadHeader&, WireBytes) {
        if (writes == 1) mayEnd.wait(false); // the others stay for now, and so the next one belongs to them
        return false;
    };
    BurstSender sender(exit, *this);
    post(sender, std::vector(256, Bytes(60, 3)));
    const auto first = std::async(std::launch::async, [this] { goOn(); });
    EXPECT_TRUE(sender.post(Bytes(60, 4)));
    mayEnd = true;
    mayEnd.notify_all();
    EXPECT_TRUE(sender.settle());
    EXPECT_EQ(left, 257U);
    EXPECT_EQ(sent.back(), Bytes(60, 4));
}

} // namespace
