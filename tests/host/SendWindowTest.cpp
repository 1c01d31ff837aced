// SPDX-License-Identifier: MIT
// When sending must wait for frames to come back, and when waiting is over.
#include "frames/SendWindow.h"

#include <gtest/gtest.h>

namespace orvo::host {
namespace {

using namespace std::chrono_literals;

class SendWindowTest : public testing::Test {
protected:
    void send(unsigned frames, std::uint64_t words = 10) {
        for (unsigned i = 0; i < frames; ++i) window.sent(words);
    }
    bool comeBack(unsigned frames, std::uint64_t words = 10) {
        returned.frames += frames;
        returned.words += frames * words;
        return observeAfter(1ms, 0);
    }
    bool observeAfter(std::chrono::milliseconds time, unsigned quietPolls) {
        now += time;
        returned.quietPolls += quietPolls;
        return window.observe(returned, now);
    }

    SendWindow window{{.frames = 8, .words = 1000, .quietPolls = 4, .pause = 500ms}};
    SendWindow::Clock::time_point now{1h};
    Returned returned;
};

TEST_F(SendWindowTest, HoldsBackByFramesAndByWords) {
    comeBack(100); // foreign frames, which must not open it for good
    send(7);
    EXPECT_TRUE(window.hasRoom(10));
    send(1);
    EXPECT_FALSE(window.hasRoom(10));
    comeBack(3);
    EXPECT_TRUE(window.hasRoom(10));
    EXPECT_FALSE(window.isHalfEmpty());
    comeBack(1);
    EXPECT_TRUE(window.isHalfEmpty());

    send(1, 960); // 4 frames of 10 words are still under way
    EXPECT_FALSE(window.hasRoom(1));
    comeBack(5, 200);
    EXPECT_EQ(window.framesUnderWay(), 0u);
    EXPECT_TRUE(window.hasRoom(5000)) << "a frame larger than the window passes when nothing is under way";
}

TEST_F(SendWindowTest, GivesUpAfterTimeAndQuietPollsAndHoldsNobodyBackUntilAFrameComes) {
    observeAfter(10s, 100); // nothing is under way: nothing to give up
    send(8);
    EXPECT_FALSE(observeAfter(10s, 100)) << "the wait begins here";
    EXPECT_FALSE(observeAfter(10s, 3)) << "the receiver was busy with something else";
    EXPECT_FALSE(comeBack(1));
    EXPECT_FALSE(observeAfter(1ms, 10)) << "a frame that comes begins the wait anew";
    EXPECT_FALSE(observeAfter(498ms, 4)) << "too early";
    EXPECT_TRUE(observeAfter(1ms, 0));
    EXPECT_EQ(window.framesUnderWay(), 0u);

    send(100);
    EXPECT_TRUE(window.hasRoom(10));
    comeBack(1);
    EXPECT_EQ(window.framesUnderWay(), 99u);
    EXPECT_FALSE(window.hasRoom(10));
    EXPECT_EQ(window.lastReturn(), now);
}

} // namespace
} // namespace orvo::host
