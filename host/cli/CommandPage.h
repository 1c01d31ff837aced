// SPDX-License-Identifier: MIT
// What the manual says of a command line, in mdoc, from the command line's own description.
#pragma once

#include "cli/CommandDescription.h"

#include <string>

namespace orvo::manual {

/// Text that roff takes as it is, with the control lines and escapes that it would see in it made harmless.
std::string roffText(const std::string& text);

/// Long lines of text broken at blanks, as mdoc has them; displays stay as they are.
std::string folded(const std::string& page);

/// The sections NAME and SYNOPSIS; `command` is a subcommand of `program`, or the program itself.
std::string nameAndSynopsis(const host::CommandDescription& program, const host::CommandDescription& command);

/// A list of the options and arguments.
std::string optionList(const host::CommandDescription& command);

/// A list of the subcommands, each with its page.
std::string commandList(const host::CommandDescription& program);

} // namespace orvo::manual
