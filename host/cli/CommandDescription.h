// SPDX-License-Identifier: MIT
// What the command line knows of itself, as data: for shells that complete it, and for its manual.
#pragma once

#include <string>
#include <vector>

namespace orvo::host {

/// An option, or an argument told by its place.
struct OptionDescription {
    std::vector<std::string> names;   ///< "-h", "--help"; of an argument its one name, without dashes
    std::string form;                 ///< how the help names what comes behind; empty: nothing comes
    std::vector<std::string> choices; ///< words that may stand there as they are
    std::string description;
    bool required = false;
    bool repeatable = false;
    bool positional = false;
};

/// The program, or one of its subcommands.
struct CommandDescription {
    std::string name;
    std::string description;
    std::vector<OptionDescription> options;
    std::vector<CommandDescription> subcommands; ///< in the order of the help
};

/// The words of a form that stand for themselves: those between bars in lower case. "recorded|Nx|max" has
/// two.
std::vector<std::string> choicesOf(const std::string& form);

/// What a shell can complete a value by.
enum class ValueKind { None, Any, Choice, File, Folder, ShellCommand };
ValueKind kindOf(const OptionDescription& option);

} // namespace orvo::host
