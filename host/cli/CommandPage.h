// SPDX-License-Identifier: MIT
// Parts of manual pages (mdoc), made from the command line's description.
#pragma once

#include "cli/CommandDescription.h"

#include <string>

namespace orvo::manual {

/// Escapes text, so that roff sees neither requests nor escape sequences in it.
std::string roffText(const std::string& text);

/// The sections NAME and SYNOPSIS; `command` is a subcommand of `program`, or the program itself.
std::string nameAndSynopsis(const host::CommandDescription& program, const host::CommandDescription& command);

/// The list of options and arguments.
std::string optionList(const host::CommandDescription& command);

/// The list of subcommands, each with a reference to its page.
std::string commandList(const host::CommandDescription& program);

} // namespace orvo::manual
