// SPDX-License-Identifier: MIT
// A server of boards that is full, and one that takes no frames.
#include "share/Server.h"
#include "share/Remote.h"

#include <gmock/gmock.h>

namespace orvo::sim {
namespace {

TEST(ServerTest, IsFullForOneProgramMoreThanItServes) {
    const std::filesystem::path path = testing::TempDir() + "server-" + std::to_string(getpid()) + ".sock";
    const Server server(path);
    std::vector<std::unique_ptr<Remote>> programs(Server::maxClients);
    for (auto& program : programs) ASSERT_TRUE(program = Remote::connect(path));
    const auto complaint = [&]() -> std::string {
        try {
            return Remote::connect(path) ? "" : "no answer";
        } catch (const std::runtime_error& reason) {
            return reason.what();
        }
    };
    for (int refused = 0; refused < 40; ++refused)
        ASSERT_THAT(complaint(), testing::HasSubstr("has as many programs as it can serve")) << refused;
    programs.pop_back();
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    std::string last;
    while (!(last = complaint()).empty() && std::chrono::steady_clock::now() < limit)
        std::this_thread::yield();
    EXPECT_EQ(last, "");
}

struct Watch final : ServerWatch {
    bool findGone() noexcept override { return isGone; }
    void giveUp() noexcept override { isGone = true; }
    bool isGone = false;
};

TEST(RemoteTransmitterTest, GivesUpAServerThatTakesNoFrames) {
    const auto ring = std::make_unique<TransmitRing>();
    Watch watch;
    RemoteTransmitter transmitter(*ring, watch, std::chrono::milliseconds(1));
    const auto send = [&] {
        transmitter.begin();
        transmitter.append(7);
        transmitter.complete();
        return ring->published.load();
    };
    const auto pollUntilGone = [&] {
        while (!watch.isGone && transmitter.isBusy(0, 0)) {
        }
    };
    for (unsigned frame = 1; frame <= TransmitRing::usable; ++frame) EXPECT_EQ(send(), frame);
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
    ring->consumed = 1;
    pollUntilGone();
    EXPECT_FALSE(watch.isGone) << "it goes on";
    EXPECT_EQ(send(), TransmitRing::usable + 1);
    pollUntilGone();
    EXPECT_TRUE(watch.isGone) << "for a host that polls the busy flag";
    watch.isGone = false;
    for (int lost = 0; lost < 3; ++lost) EXPECT_EQ(send(), TransmitRing::usable + 1);
    EXPECT_TRUE(watch.isGone) << "for a host that does not";
}

TEST(RemoteTransmitterTest, OccupiesTheLineForTheFrameAsItLeaves) {
    constexpr unsigned units = 750, frames = 20;
    const auto ring = std::make_unique<TransmitRing>();
    Watch watch;
    RemoteTransmitter transmitter(*ring, watch);
    const auto occupied = [&](bool addsFcs) {
        const auto before = transmitter.lineUntil();
        transmitter.begin();
        for (unsigned unit = 0; unit < units; ++unit) transmitter.append(unit);
        transmitter.occupyLine(10, addsFcs);
        transmitter.complete();
        return transmitter.lineUntil() - before;
    };
    for (unsigned frame = 0; frame < frames; ++frame) occupied(true); // so that the line is busy meanwhile
    EXPECT_EQ(occupied(true), (2 * units + 24) * 800);
    EXPECT_EQ(occupied(false), (2 * units + 20) * 800) << "the host appended the check sequence";
}

} // namespace
} // namespace orvo::sim
