// SPDX-License-Identifier: MIT
// Entries of the hardware access layer: firmware registers.
#include "Simulation.h"

#include <orvo/hal/orvo_hal.h>

using namespace orvo::sim;

int OHalRegisterRead(void* device, uint32_t address, uint64_t* value) {
    Board* const board = boardOf(device);
    if (!board) return OrvoSimHalBadHandle;
    if (!value) return OrvoSimHalBadArgument;
    return board->readRegister(address, *value);
}

namespace {

[[gnu::noinline]] int writeAnyRegister(void* device, uint32_t address, uint64_t value) {
    Board* const board = boardOf(device);
    return board ? board->writeRegister(address, value) : OrvoSimHalBadHandle;
}

} // namespace

/// What a frame is made of comes first and calls nothing, so that the compiler saves no registers for it.
int OHalRegisterWrite(void* device, uint32_t address, uint64_t value) {
    Board* const board = openBoardOf(device);
    if (board && board->appendToFrame(address, value)) [[likely]]
        return 0;
    return writeAnyRegister(device, address, value);
}
