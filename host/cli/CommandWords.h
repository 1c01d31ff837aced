// SPDX-License-Identifier: MIT
// The words of a command line, checked and put into one form before they are parsed.
#pragma once

#include "cli/CommandDescription.h"

#include <string>
#include <vector>

namespace orvo::host {

/// Checks the words against the description and returns them in the form that the parser cannot misread: the
/// subcommand first, options that the program shares with it behind it, and each value as a word after its
/// option. Words after a request for help or the version are dropped.
/// Errors: UsageFailure that quotes the wrong word: an unknown subcommand or option, an option without its
/// value or with one that it does not take, a repetition, or an argument too many.
std::vector<std::string> orderedWords(const CommandDescription& program,
                                      const std::vector<std::string>& words);

} // namespace orvo::host
