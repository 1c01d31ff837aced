// SPDX-License-Identifier: MIT
// Frames that take their time on the wire.
#include "board/Cabling.h"
#include "process/Simulation.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <chrono>
#include <thread>
#include <vector>

namespace {

using namespace orvo::sim;
using Clock = std::chrono::steady_clock;

constexpr std::uint64_t timedFrames = 50;

/// Sends frames as a host does, and returns how long they took.
std::chrono::nanoseconds sendAll(Board& board, std::size_t frameBytes) {
    const auto write = [&](Register at, std::uint64_t value) {
        EXPECT_EQ(board.writeRegister(static_cast<std::uint32_t>(at), value), 0);
    };
    const auto start = Clock::now();
    for (std::uint64_t i = 0; i <= timedFrames; ++i) { // the last one waits for the one before
        for (std::uint64_t busy = 1; busy != 0;)
            board.readRegister(static_cast<std::uint32_t>(Register::GigeTxTransferActive), busy);
        write(Register::GigeBufferReset, 0);
        for (std::size_t unit = 0; unit < frameBytes / 2; ++unit) write(Register::GigeWriteData, unit);
        write(Register::GigeWriteComplete, 0);
    }
    return Clock::now() - start;
}

Configuration negotiated() {
    return parseConfiguration("[[board]]\nline_rate = \"negotiated\"\n", "boards.toml");
}

constexpr std::chrono::nanoseconds lineTime(std::size_t wireBytes, std::uint64_t count, int nsPerByte) {
    return std::chrono::nanoseconds((wireBytes + 20) * count * static_cast<std::uint64_t>(nsPerByte));
}

TEST(LineRateTest, TheBusyFlagStandsForTheTimeOfTheNegotiatedSpeed) {
    const struct {
        std::size_t frameBytes;
        OrvoSimPartner partner;
        int nsPerByte;
    } cases[] = {{1514, OrvoSimPartner1000, 8}, {60, OrvoSimPartner1000, 8}, {1514, OrvoSimPartner100, 80}};
    for (const auto& [frameBytes, partner, nsPerByte] : cases) {
        SCOPED_TRACE(frameBytes);
        Simulation simulation(negotiated());
        Board& board = *simulation.board(0);
        {
            const std::lock_guard lock(benchMutex);
            setPartner(board.ports()[0], partner, always);
        }
        EXPECT_GE(sendAll(board, frameBytes), lineTime(frameBytes + 4, timedFrames, nsPerByte));
        OrvoSimPort port{};
        board.report(0, port);
        EXPECT_EQ(port.sentFrames, timedFrames + 1) << "none was sent while the transmitter was busy";
        EXPECT_EQ(port.receivedFrames, port.sentFrames);
    }
    EXPECT_THROW(parseConfiguration("[[board]]\nline_rate = \"fast\"\n", "boards.toml"), ConfigurationError);
}

// In no stretch do more frames arrive than the line carries in its time, and in what the wire's thread may
// make up: also behind a pause, which earns nothing.
TEST(LineRateTest, FramesFromOutsideArriveNoFasterThanTheLineCarriesThem) {
    constexpr std::size_t bytes = 1514, count = 1000;
    Simulation simulation(negotiated());
    FrameSink& outside = simulation.board(0)->ports()[0].outsideSink();
    const std::vector<std::uint8_t> frame(bytes);
    std::vector<Clock::time_point> before, after;
    for (std::size_t i = 0; i < count; ++i) {
        if (i == count / 2) std::this_thread::sleep_for(4 * Line::lateness);
        before.push_back(Clock::now());
        outside.deliverUnsealed(frame);
        after.push_back(Clock::now());
    }
    std::chrono::nanoseconds worst{0};
    for (std::size_t first = 0; first < count; ++first)
        for (std::size_t last = first + 1; last < count; ++last)
            worst = std::max(worst, lineTime(bytes + 4, last - first, 8) - (after[last] - before[first]));
    EXPECT_LE(worst, Line::lateness);
    EXPECT_GT(simulation.board(0)->ports()[0].receiver().goodFrames(), 0U);
}

} // namespace
