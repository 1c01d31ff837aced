// SPDX-License-Identifier: MIT
// An installation in use: its board libraries opened, and its simulated board, if it is one, cabled.
#pragma once

#include "device/BoardLibraries.h"
#include "device/Installation.h"
#include "device/InstallationOptions.h"
#include "device/SimulatorControl.h"

#include <optional>

namespace orvo::host {

struct BoardAccess {
    /// Errors: Failure for an incomplete installation, a bad simulator configuration, a bad wire, or wires
    /// or virtual time where the board is a real one.
    BoardAccess(const InstallationOptions& options, unsigned defaultBoard);

    Installation installation;
    BoardLibraries libraries;
    std::optional<SimulatorControl> simulator; ///< nothing: the board is a real one
    bool virtualTime;
    bool hasFaults; ///< a script is at work; in virtual time, the thread that made this drives the clock

    /// The time that passes for the board, in seconds from an arbitrary start.
    double seconds() const;
};

} // namespace orvo::host
