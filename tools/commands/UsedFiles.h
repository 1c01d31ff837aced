// SPDX-License-Identifier: MIT
// What a subcommand's files must not be.
#pragma once

#include "board/SimulatorControl.h"

#include <string>
#include <vector>

namespace orvo::host {

/// Whether two paths lead to one file; of files that are not there yet, whether they are the same path.
bool isSameFile(const std::string& one, const std::string& other);

/// The files of a subcommand.
struct UsedFiles {
    std::vector<std::string> read = {}, written = {};
};

/// The wires of the simulated board must not play what the subcommand writes, nor record into what it reads
/// or writes. Errors: Failure that names wire and file.
void refuseFilesOfWires(const UsedFiles& used, const SimulatorControl& simulator);

} // namespace orvo::host
