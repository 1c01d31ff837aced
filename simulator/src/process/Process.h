// SPDX-License-Identifier: MIT
// The boards of this process. Every C entry gets to them through one of the doors below; nothing else does.
#pragma once

#include "process/Simulation.h"

#include <orvo/hal/orvo_hal.h>

namespace orvo::sim {

/// The process's boards, made on first use from the configuration file and never destroyed: other threads may
/// call the library until the process has ended. There are none when the file is bad.
Simulation& simulation();

/// What was wrong with the configuration file; empty when nothing was.
const std::string& configurationError();
/// Writes the configuration error, if there is one, to standard error, unless that was done or the error was
/// taken.
void reportConfigurationError();
/// The configuration error, null if there is none; from now on the caller reports it.
const char* takeConfigurationError();

/// Null for a handle that is not open; counts it where it was.
Board* refuseHandle(HandleBits handle) noexcept;

/// The board of a device handle; null for one that is not open, which is counted where it was.
inline Board* boardOf(void* device) noexcept {
    Board* const board = openBoardOf(device);
    if (board) [[likely]]
        return board;
    return refuseHandle(reinterpret_cast<HandleBits>(device));
}

/// The result of `act(board)` for the board of a device handle, or OrvoSimHalBadHandle.
template <class Act> int withHandle(void* device, Act act) {
    Board* const board = boardOf(device);
    return board ? act(*board) : OrvoSimHalBadHandle;
}

/// The result of `act(board)` for the board of an index, or OrvoSimNoSuchPlace.
template <class Act> int atBoard(unsigned index, Act act) {
    Board* const board = simulation().board(index);
    return board ? act(*board) : OrvoSimNoSuchPlace;
}

/// The result of `act(port)` for the port at a place, or OrvoSimNoSuchPlace.
template <class Act> int atPort(unsigned board, unsigned port, Act act) {
    Port* const found = simulation().port({board, port});
    return found ? act(*found) : OrvoSimNoSuchPlace;
}

} // namespace orvo::sim
