// SPDX-License-Identifier: MIT
// Turns of senders at the gate, one alone and several, and the gate's closing on them.
#include "gige/DeviceGate.h"

#include "support/Concurrency.h"

#include <gmock/gmock.h>

#include <future>

namespace orvo::test {
namespace {

using namespace std::chrono_literals;
using core::zume::DeviceGate;
using Answer = DeviceGate::Answer;

/// What another thread is told.
Answer answerElsewhere(DeviceGate& gate) {
    return std::async(std::launch::async, [&gate] { return gate.enterSend(2ms).answer(); }).get();
}

TEST(DeviceGateTest, OneSenderAtATimeIsInsideAndTheGateClosesOnNoneOfThem) {
    DeviceGate gate;
    { // alone so far
        const auto pass = gate.enterSend(1s);
        ASSERT_EQ(pass.answer(), Answer::Inside);
        EXPECT_FALSE(gate.close(2ms));
        EXPECT_EQ(answerElsewhere(gate), Answer::Late) << "from here on there are several";
        EXPECT_FALSE(gate.close(2ms));
    }
    EXPECT_EQ(answerElsewhere(gate), Answer::Inside);
    { // in turns
        const auto pass = gate.enterSend(1s);
        ASSERT_EQ(pass.answer(), Answer::Inside);
        EXPECT_EQ(answerElsewhere(gate), Answer::Late);
        EXPECT_FALSE(gate.close(2ms));
    }
    EXPECT_TRUE(gate.close(1s));
    EXPECT_EQ(gate.enterSend(1s).answer(), Answer::Closed);
    EXPECT_EQ(answerElsewhere(gate), Answer::Closed);
    gate.open();
    EXPECT_EQ(gate.enterSend(1s).answer(), Answer::Inside);
}

TEST(DeviceGateTest, SendersThatComeAtOnceAreNeverInsideTogether) {
    for (int round = 0; round < 200; ++round) {
        DeviceGate gate; // whose sole sender is yet to be found
        int inside = 0;  // guarded by the gate
        runTogether(3, [&](int) {
            for (int i = 0; i < 50; ++i) {
                const auto pass = gate.enterSend(10s);
                ASSERT_TRUE(pass);
                ASSERT_EQ(++inside, 1);
                --inside;
            }
        });
    }
}

} // namespace
} // namespace orvo::test
