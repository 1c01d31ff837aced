// SPDX-License-Identifier: MIT
// Completion scripts for shells, made from the command line's description.
#pragma once

#include "cli/CommandDescription.h"

#include <string>

namespace orvo::host {

/// A script for bash to source, from /usr/share/bash-completion or a start-up file; needs nothing else.
std::string bashCompletion(const CommandDescription& program);

/// A function file "_NAME" for a folder of zsh's `fpath`; can also be sourced.
std::string zshCompletion(const CommandDescription& program);

} // namespace orvo::host
