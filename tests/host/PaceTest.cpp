// SPDX-License-Identifier: MIT
// When frames of a replay are due.
#include "frames/Pace.h"

#include <gtest/gtest.h>

#include <vector>

namespace orvo::test {
namespace {

using namespace std::chrono_literals;
using host::Pace;
using host::Schedule;

using Times = std::vector<std::chrono::nanoseconds>;

Times dueTimes(const char* pace, const Times& recordedAt, int times) {
    Schedule schedule(Pace::parse(pace).value());
    Times due;
    for (int i = 0; i < times; ++i) {
        if (i > 0) schedule.beginAgain();
        for (const auto at : recordedAt) due.push_back(schedule.next(at));
    }
    return due;
}

TEST(Pace, FramesAreDueOnAnAbsoluteSchedule) {
    const Times recordedAt = {100s, 100s + 4ms, 100s + 3ms, 100s + 9ms}; // the third one went back in time
    EXPECT_EQ(dueTimes("max", recordedAt, 2), Times(8, 0ns));
    EXPECT_EQ(dueTimes("recorded", recordedAt, 2), (Times{0ms, 4ms, 4ms, 9ms, 12ms, 16ms, 16ms, 21ms}));
    EXPECT_EQ(dueTimes("2x", recordedAt, 1), (Times{0us, 2000us, 2000us, 4500us}));
    EXPECT_EQ(dueTimes("0.5x", recordedAt, 1), (Times{0ms, 8ms, 8ms, 18ms}));
    EXPECT_EQ(dueTimes("recorded", {7s}, 3), Times(3, 0ns)) << "a single frame has no distance";
    // A third of a second cannot be had in nanoseconds; the error must not add up.
    const auto thirds = dueTimes("3", Times(4, 0ns), 75'000);
    EXPECT_EQ(thirds[1], 333'333'333ns);
    EXPECT_EQ(thirds[299'997], 99'999s);
}

TEST(Pace, WhatIsNoPaceIsRefused) {
    for (const char* text :
         {"",         "x",     "0",       "0x",   "-1",  "-2x",  "nan",  "inf", "1e999", "2 x", "10fps",
          "Recorded", "1e-7x", "1e-300x", "2e6x", "1e8", "1e-4", "0x10", " 5",  "5 ",    "+5",  "-0"})
        EXPECT_FALSE(Pace::parse(text)) << text;
    EXPECT_EQ(Pace::parse("1e-6x")->value, 1e-6);
}

TEST(Pace, WhatIsRecordedOfWildTimesIsDueWithinACentury) {
    const auto due = dueTimes("0.000001x", {0s, 9'000'000'000s, 0s}, 1);
    EXPECT_GT(due[1], 99 * 8760h);
    EXPECT_LT(due[1], 101 * 8766h);
    EXPECT_EQ(due[2], due[1]);
}

TEST(Pace, NobodyGoesEarly) {
    const auto due = Schedule::Clock::now() + 3ms;
    const auto late = host::waitUntil(due);
    EXPECT_GE(Schedule::Clock::now(), due);
    EXPECT_GE(host::waitUntil(due).value(), late.value()) << "what is due already is late at once";
}

} // namespace
} // namespace orvo::test
