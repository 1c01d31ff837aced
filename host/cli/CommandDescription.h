// SPDX-License-Identifier: MIT
// The command line described as data, from which completion scripts and the manual are made.
#pragma once

#include <string>
#include <vector>

namespace orvo::host {

/// An option or a positional argument.
struct OptionDescription {
    std::vector<std::string> names;   ///< "-h", "--help"; of an argument one name, without dashes
    std::string form;                 ///< the value's placeholder in the help; empty: takes no value
    std::vector<std::string> choices; ///< literal words that the value may be
    std::string description;
    bool required = false;
    bool repeatable = false;
    bool positional = false;

    /// Whether "--" stands before it: words for another program, among which may be options.
    bool followsDashes() const { return positional && repeatable && form.ends_with("..."); }
};

/// The program, or one of its subcommands.
struct CommandDescription {
    std::string name;
    std::string description;
    std::vector<OptionDescription> options;
    std::vector<CommandDescription> subcommands; ///< in the order of the help
};

} // namespace orvo::host
