// SPDX-License-Identifier: MIT
// Files that both a subcommand and a wire of the simulated board would use.
#pragma once

#include "device/SimulatorControl.h"

#include <string>
#include <vector>

namespace orvo::host {

/// The files of a subcommand, which a wire must not use too.
struct FileConflicts {
    std::vector<std::string> read = {}, written = {};
};

/// Errors: Failure when a wire plays a file that the subcommand writes, or records into one that it reads or
/// writes. The message names port and file.
void refuseFilesOfWires(const FileConflicts& used, const SimulatorControl& simulator);

} // namespace orvo::host
