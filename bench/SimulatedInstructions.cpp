// SPDX-License-Identifier: MIT
// As Instructions.cpp, for the simulated board alone: a frame written to port 0's transmitter and read from
// port 1's queue, as the plug-in does, on one thread.
#include "firmware/RegisterTable.h"

#include <orvo/hal/orvo_hal.h>
#include <orvo/sim/orvo_sim.h>

#include <array>
#include <cstdlib>
#include <iostream>

namespace {

using orvo::sim::Register;

constexpr std::uint64_t linkUs = 10'000'000; // more than the negotiation takes

void write(void* board, Register port0Register, std::uint64_t value) {
    OHalRegisterWrite(board, static_cast<std::uint32_t>(port0Register), value);
}

bool pass(void* board, unsigned frameBytes) {
    static std::array<std::uint32_t, 1024> words;
    write(board, Register::GigeBufferReset, 0);
    for (unsigned unit = 0; unit < frameBytes / 2; ++unit) write(board, Register::GigeWriteData, unit);
    write(board, Register::GigeWriteComplete, 0);
    std::uint32_t bytes = 0;
    return OHalDataQueueReadBufferLong(board, 1, &bytes, sizeof bytes, 100) == sizeof bytes &&
           OHalDataQueueReadBufferLong(board, 1, words.data(), std::uint64_t{2} * bytes, 100) ==
               static_cast<int>(2 * bytes);
}

} // namespace

int main(int count, char** arguments) {
    if (count != 3) {
        std::cerr << "usage: " << arguments[0] << " FRAMEBYTES FRAMES\n";
        return 2;
    }
    orvoSimUseVirtualTime(1);
    orvoSimSetWire(0, 0, "port:0/1", nullptr, 0);
    orvoSimAdvanceTime(linkUs);
    void* const board = OHalInitDevice(0);
    const auto frameBytes = static_cast<unsigned>(std::atoi(arguments[1]));
    for (long i = std::atol(arguments[2]); i > 0; --i)
        if (!pass(board, frameBytes)) return EXIT_FAILURE;
    return EXIT_SUCCESS;
}
