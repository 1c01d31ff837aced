// SPDX-License-Identifier: MIT
// Completion of the command line by shells: scripts made from the command line's own description.
#pragma once

#include "cli/CommandDescription.h"

#include <string>

namespace orvo::host {

/// A script that bash sources, from /usr/share/bash-completion or a start-up file; it needs nothing else.
std::string bashCompletion(const CommandDescription& program);

/// A function file "_NAME" for a folder of zsh's `fpath`; may be sourced as well.
std::string zshCompletion(const CommandDescription& program);

} // namespace orvo::host
