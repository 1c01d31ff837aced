// SPDX-License-Identifier: MIT
// The boards of this process, and the only ways by which C entries reach them.
#pragma once

#include "process/Simulation.h"

#include <orvo/hal/orvo_hal.h>

namespace orvo::sim {

/// The process's boards, made on first use from the configuration file and never destroyed: other threads may
/// call the library until the process has ended. There are none when the file is bad.
Simulation& simulation();

/// Has no board appear in this process, and `reason` reported as the configuration's error. Before the first
/// use.
void refuseOwnBoards(std::string reason);
/// Has the boards of this process lie in memory that others can map. Before the first use.
void shareOwnBoards();
/// The directory above that of this library.
std::filesystem::path installationRoot();

/// What was wrong with the configuration file; empty when nothing was.
const std::string& configurationError();
/// Writes the configuration error, if there is one, to standard error; once, and not after it was taken.
void reportConfigurationError();
/// The configuration error, null if there is none; the caller reports it from now on.
const char* takeConfigurationError();

/// Returns null, and counts the access if the handle was open before.
Board* refuseHandle(HandleBits handle) noexcept;

/// The board of a device handle; null for one that is not open. Counts accesses by released handles.
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
