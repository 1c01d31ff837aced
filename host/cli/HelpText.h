// SPDX-License-Identifier: MIT
// What --help prints.
#pragma once

#include "cli/CommandDescription.h"

#include <cstddef>
#include <string>

namespace orvo::host {

/// The help of `command`, a subcommand of `program` or the program itself, in lines of at most `width`
/// characters where the words allow it.
std::string helpText(const CommandDescription& program, const CommandDescription& command, std::size_t width);

/// COLUMNS where it is set, else the width of the terminal at standard output, else 80.
std::size_t helpWidth();

} // namespace orvo::host
