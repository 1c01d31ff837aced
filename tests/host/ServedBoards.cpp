// SPDX-License-Identifier: MIT
// With ORVO_TEST_SERVED in the environment, each test has the boards of a server of its own.
#include "Process.h"

#include <cstdlib>
#include <optional>

namespace orvo::host::testing_support {
namespace {

class ServedBoards : public testing::EmptyTestEventListener {
    void OnTestStart(const testing::TestInfo&) override {
        folder_.emplace();
        const auto socket = folder_->file("boards.sock");
        server_.emplace(std::vector<std::string>{ORVO_GIGE, "simulate", "--name", socket});
        server_->says("ready");
        setenv("ORVO_BOARD", socket.c_str(), 1);
    }
    void OnTestEnd(const testing::TestInfo&) override {
        setenv("ORVO_BOARD", "own", 1);
        server_->signal(SIGTERM);
        const auto outcome = server_->wait();
        EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
        server_.reset();
        folder_.reset();
    }
    std::optional<TemporaryFolder> folder_;
    std::optional<Process> server_;
};

const bool isListening = [] {
    if (std::getenv("ORVO_TEST_SERVED"))
        testing::UnitTest::GetInstance()->listeners().Append(new ServedBoards); // which owns it
    return true;
}();

} // namespace
} // namespace orvo::host::testing_support
