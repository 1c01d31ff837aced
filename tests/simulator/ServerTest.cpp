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

struct CountingWatch final : ServerWatch {
    bool findGone() noexcept override { return ++looks, true; }
    int looks = 0; // at least one in every wait
};

TEST(RemoteTransmitterTest, WaitsOnceForAServerThatTakesNoFrames) {
    const auto ring = std::make_unique<TransmitRing>();
    CountingWatch watch;
    RemoteTransmitter transmitter(*ring, watch);
    const auto send = [&] {
        transmitter.begin();
        transmitter.append(7);
        transmitter.complete();
        return ring->published.load();
    };
    for (unsigned frame = 1; frame <= TransmitRing::usable; ++frame) EXPECT_EQ(send(), frame);
    for (int lost = 0; lost < 3; ++lost) EXPECT_EQ(send(), TransmitRing::usable);
    EXPECT_EQ(watch.looks, 1);
    ring->consumed = ring->published.load();
    for (unsigned frame = 1; frame <= TransmitRing::usable; ++frame)
        EXPECT_EQ(send(), TransmitRing::usable + frame);
    send();
    EXPECT_EQ(watch.looks, 2) << "it had gone on";
}

} // namespace
} // namespace orvo::sim
