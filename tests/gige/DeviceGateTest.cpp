// SPDX-License-Identifier: MIT
// Who is inside the gate, when it closes, and how senders take turns.
#include "gige/DeviceGate.h"

#include "support/Concurrency.h"
#include "support/Pacing.h"

#include <gmock/gmock.h>

#include <atomic>
#include <functional>
#include <memory>

namespace orvo::test {
namespace {

using namespace std::chrono_literals;
using core::zume::DeviceGate;
using Answer = DeviceGate::Answer;

TEST(DeviceGateTest, OneSenderAtATimeIsInsideAndTheGateClosesOnNobody) {
    DeviceGate gate;
    {
        const auto pass = gate.enterSend(1s);
        ASSERT_EQ(pass.answer(), Answer::Inside);
        EXPECT_FALSE(gate.close(2ms));
        EXPECT_EQ(gate.enterSend(2ms).answer(), Answer::Late);
        EXPECT_FALSE(gate.close(2ms)) << "the late one has not lowered the other's flag";
    }
    EXPECT_EQ(gate.enterSend(1s).answer(), Answer::Inside);
    {
        const auto first = gate.enterControl();
        {
            const auto second = gate.enterControl();
            EXPECT_TRUE(first && second);
        }
        EXPECT_FALSE(gate.close(2ms)) << "one of two has left";
    }
    EXPECT_TRUE(gate.close(1s));
    EXPECT_EQ(gate.enterSend(1s).answer(), Answer::Closed);
    EXPECT_EQ(gate.enterSend(1s).answer(), Answer::Closed) << "the one before has left";
    gate.open();
    EXPECT_EQ(gate.enterSend(1s).answer(), Answer::Inside);
}

TEST(DeviceGateTest, SendersThatComeAtOnceAreNeverInsideTogether) {
    DeviceGate gate;
    int inside = 0; // guarded by the gate
    runTogether(3, [&](int) {
        for (int i = 0; i < 5000; ++i) {
            const auto pass = gate.enterSend(10s);
            ASSERT_TRUE(pass);
            ASSERT_EQ(++inside, 1);
            --inside;
        }
    });
}

TEST(DeviceGateTest, NobodyIsInsideAClosedGate) {
    const std::function<DeviceGate::Pass(DeviceGate&)> paths[] = {
        [](auto& gate) { return gate.enterReceive(); }, [](auto& gate) { return gate.enterLeecher(); },
        [](auto& gate) { return gate.enterSend(10s); }, [](auto& gate) { return gate.enterControl(); }};
    for (const auto& enter : paths) {
        DeviceGate gate;
        int device = 1; // guarded by the gate: a thread inside reads 1
        std::atomic<int> passes{0};
        const auto traffic = repeating([&] {
            for (int i = 0; i < 20; ++i) {
                const auto pass = enter(gate);
                if (!pass) break;
                std::this_thread::yield();
                ASSERT_EQ(device, 1);
                ++passes;
            }
            std::this_thread::yield();
        });
        for (int round = 0; round < 500 || (passes < 500 && round < 1'000'000); ++round) {
            ASSERT_TRUE(gate.close(10s));
            device = 0;
            std::this_thread::yield(); // others look at it, so the compiler keeps both stores
            device = 1;
            gate.open();
            std::this_thread::yield();
        }
        EXPECT_GE(passes, 500);
    }
}

TEST(DeviceGateTest, AWaitWhoseLimitHasPassedLooksOnceMore) {
    holdClock();
    DeviceGate gate;
    std::unique_ptr<DeviceGate::Pass> inside;
    int readings = 0;
    // The second reading of the clock, the first after the deadline was set, comes a second late, and the
    // one inside has left meanwhile.
    const auto leavesLate = [&] {
        if (++readings != 2) return;
        advanceClock(1s);
        inside.reset();
    };
    const std::function<void()> waits[] = {[&] { EXPECT_TRUE(gate.close(2ms)); },
                                           [&] { EXPECT_EQ(gate.enterSend(2ms).answer(), Answer::Inside); }};
    for (const auto& wait : waits) {
        gate.open();
        readings = 0;
        inside.reset(new DeviceGate::Pass(gate.enterSend(1s)));
        onClockReading(leavesLate);
        wait();
        onClockReading({});
    }
    restorePacing();
}

} // namespace
} // namespace orvo::test
