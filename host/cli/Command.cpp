// SPDX-License-Identifier: MIT
// The common side of subcommands.
#include "cli/Command.h"

namespace orvo::host {

Command::Command(Program& program, const char* name, const char* description)
    : line_(program.subcommand(name, description)) {}

} // namespace orvo::host
