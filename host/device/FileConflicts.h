// SPDX-License-Identifier: MIT
// What a subcommand's files must not be.
#pragma once

#include "device/SimulatorControl.h"

#include <string>
#include <vector>

namespace orvo::host {

/// The files of a subcommand.
struct FileConflicts {
    std::vector<std::string> read = {}, written = {};
};

/// The wires of the simulated board must not play what the subcommand writes, nor record into what it reads
/// or writes. Errors: Failure that names wire and file.
void refuseFilesOfWires(const FileConflicts& used, const SimulatorControl& simulator);

} // namespace orvo::host
