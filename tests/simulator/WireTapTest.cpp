// SPDX-License-Identifier: MIT
// The ring between a board and a listener: many threads at one end, a hostile program at the other.
#include "wire/WireTap.h"
#include "wire/TapReader.h"

#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <random>
#include <thread>
#include <vector>

namespace {

using namespace orvo::sim;

void record(TapPlace& place, WireBytes frame, OrvoSimFate fate) {
    TapRecord record(place, TapDirection::Received, frame, false);
    record.end(fate);
}

TEST(WireTapTest, FramesOfManyThreadsComeWholeInTheOrderOfTheirTimes) {
    constexpr unsigned threads = 4, framesEach = 3000;
    TapPlace place;
    const auto tap = WireTap::at(place);
    TapReader reader(tap->ring());
    std::vector<std::thread> senders;
    for (unsigned i = 0; i < threads; ++i)
        senders.emplace_back([&place, i] {
            const std::vector<std::uint8_t> frame(60 + i, static_cast<std::uint8_t>(i));
            for (unsigned k = 0; k < framesEach; ++k) record(place, frame, OrvoSimPassed);
        });
    OrvoSimTapFrame frame{};
    std::array<std::uint8_t, 128> content{};
    std::array<unsigned, threads> seen{};
    std::uint64_t before = 0;
    for (unsigned count = 0; count < threads * framesEach; ++count) {
        ASSERT_TRUE(reader.await(std::chrono::seconds(10), [] { return false; }));
        ASSERT_TRUE(reader.take(frame, content));
        ASSERT_GE(frame.nanoseconds, before);
        before = frame.nanoseconds;
        const unsigned sender = content[0];
        ASSERT_EQ(frame.wireBytes, 64 + sender);
        ASSERT_TRUE(
            std::all_of(content.begin(), content.begin() + 60, [&](auto byte) { return byte == sender; }));
        ASSERT_EQ(frame.errors, 0U);
        ++seen.at(sender);
    }
    for (auto& sender : senders) sender.join();
    for (const unsigned count : seen) EXPECT_EQ(count, framesEach);
}

TEST(WireTapTest, ListenersThatComeAndGoDoNotDisturbTheFrames) {
    TapPlace place;
    std::atomic<bool> isEnding{false};
    std::thread sender([&] {
        const std::vector<std::uint8_t> frame(1500);
        while (!isEnding) record(place, frame, OrvoSimPassed);
    });
    std::array<std::unique_ptr<WireTap>, TapPlace::seats> taps;
    for (std::size_t i = 0; i < 50; ++i) {
        auto& tap = taps.at(i % taps.size());
        tap.reset();
        tap = WireTap::at(place);
        ASSERT_TRUE(tap);
        EXPECT_EQ(WireTap::at(place) == nullptr, i + 1 >= taps.size());
        EXPECT_TRUE(TapReader(tap->ring()).await(std::chrono::seconds(10), [] { return false; }));
    }
    for (auto& tap : taps) tap.reset();
    isEnding = true;
    sender.join();
    EXPECT_FALSE(place.isTapped());
}

TEST(WireTapTest, WhatAListenerWritesMattersToNobodyElse) {
    TapPlace place;
    const auto tap = WireTap::at(place);
    std::minstd_rand random(1);
    const auto any = [&random] { return static_cast<std::uint32_t>(random() * 2654435761U); };
    const std::vector<std::uint8_t> frame(3000, 7);
    for (int i = 0; i < 100'000; ++i) {
        tap->ring().taken.store({any(), any()});
        tap->ring().slot[any() % TapRing::slots].firstUnit = any();
        tap->ring().slot[any() % TapRing::slots].keptBytes = static_cast<std::uint16_t>(any());
        record(place, WireBytes(frame).first(any() % frame.size()), OrvoSimPassed);
    }
    TapReader reader(tap->ring()); // which does not trust what it finds, either
    OrvoSimTapFrame found{};
    for (int i = 0; i < 100'000; ++i) reader.take(found, {});
}

} // namespace
