// SPDX-License-Identifier: MIT
// The whole command line of the program, for its entry and for its manual.
#pragma once

#include "cli/Command.h"

#include <memory>
#include <vector>

namespace orvo::host {

struct HostProgram {
    HostProgram();

    /// The subcommand that the parsed line asks for. There is one: the parser demands it.
    Command& chosen() const;

    Program line;
    std::vector<std::unique_ptr<Command>> commands; ///< in the order of the help
};

} // namespace orvo::host
