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

int OHalRegisterWrite(void* device, uint32_t address, uint64_t value) {
    Board* const board = boardOf(device);
    if (!board) [[unlikely]]
        return OrvoSimHalBadHandle;
    return board->writeRegister(address, value);
}
