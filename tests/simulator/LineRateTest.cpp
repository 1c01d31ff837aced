// SPDX-License-Identifier: MIT
// Frames that take their time on the wire.
#include "board/Cabling.h"
#include "process/Simulation.h"

#include <gmock/gmock.h>

#include <chrono>
#include <vector>

namespace {

using namespace orvo::sim;
using Clock = std::chrono::steady_clock;

constexpr std::uint64_t frames = 50;

/// Sends frames as a host does, and returns how long they took.
std::chrono::nanoseconds sendAll(Board& board, std::size_t frameBytes) {
    const auto write = [&](Register at, std::uint64_t value) {
        EXPECT_EQ(board.writeRegister(static_cast<std::uint32_t>(at), value), 0);
    };
    const auto start = Clock::now();
    for (std::uint64_t i = 0; i <= frames; ++i) { // the last one waits for the one before
        for (std::uint64_t busy = 1; busy != 0;)
            board.readRegister(static_cast<std::uint32_t>(Register::GigeTxTransferActive), busy);
        write(Register::GigeBufferReset, 0);
        for (std::size_t unit = 0; unit < frameBytes / 2; ++unit) write(Register::GigeWriteData, unit);
        write(Register::GigeWriteComplete, 0);
    }
    return Clock::now() - start;
}

TEST(LineRateTest, FramesTakeTheTimeOfTheNegotiatedSpeed) {
    Simulation simulation(parseConfiguration("[[board]]\nline_rate = \"negotiated\"\n", "boards.toml"));
    Board& board = *simulation.board(0);
    const auto leastNs = [](std::size_t wireBytes, std::uint64_t nsPerByte) {
        return std::chrono::nanoseconds(frames * (wireBytes + 20) * nsPerByte - 25'000); // a late first frame
    };
    EXPECT_GE(sendAll(board, 1514), leastNs(1518, 8));
    EXPECT_GE(sendAll(board, 60), leastNs(64, 8));
    {
        const std::lock_guard lock(benchMutex);
        setPartner(board.ports()[0], OrvoSimPartner100, always);
    }
    EXPECT_GE(sendAll(board, 1514), leastNs(1518, 80));
    OrvoSimPort port{};
    board.report(0, port);
    EXPECT_EQ(port.sentFrames, 3 * (frames + 1)) << "none was sent while the transmitter was busy";
    EXPECT_EQ(port.receivedFrames, port.sentFrames);
    EXPECT_THROW(parseConfiguration("[[board]]\nline_rate = \"fast\"\n", "boards.toml"), ConfigurationError);
}

} // namespace
