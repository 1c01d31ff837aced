// SPDX-License-Identifier: MIT
// A server of boards that is full.
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

} // namespace
} // namespace orvo::sim
