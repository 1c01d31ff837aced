// SPDX-License-Identifier: MIT
#include "cli/CommandPage.h"

#include <fmt/format.h>

#include <cctype>

namespace orvo::manual {
namespace {

using host::CommandDescription;
using host::OptionDescription;

/// The program's name, followed by the subcommand's.
std::string nameOf(const CommandDescription& program, const CommandDescription& command,
                   const char* separator) {
    return program.name + (&program == &command ? "" : separator + command.name);
}

std::string argument(const OptionDescription& option) {
    return (option.choices.empty() ? " Ar " : " Cm ") + option.form;
}

std::string synopsisLine(const OptionDescription& option) {
    std::string words;
    if (option.positional)
        words = (option.followsDashes() ? " Fl -" : "") + argument(option);
    else
        words = " Fl " + option.names.back().substr(1) + (option.form.empty() ? "" : argument(option));
    const auto line = option.required ? "." + words.substr(1) : ".Op" + words;
    return line + (option.repeatable && !option.positional ? " ...\n" : "\n");
}

std::string heading(const OptionDescription& option) {
    if (option.positional) return ".It" + argument(option) + "\n";
    std::string names;
    for (const auto& name : option.names) names += (names.empty() ? " Fl " : " , Fl ") + name.substr(1);
    return ".It" + names + (option.form.empty() ? "" : argument(option)) + "\n";
}

} // namespace

std::string roffText(const std::string& text) {
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool isDashed = text[i] == '-' && (text.substr(i, 2) == "--" || (i > 0 && text[i - 1] == '-'));
        result += text[i] == '\\' ? "\\e" : isDashed ? "\\-" : std::string(1, text[i]);
    }
    return (text.starts_with('.') || text.starts_with('\'') ? "\\&" : "") + result; // no request
}

std::string nameAndSynopsis(const CommandDescription& program, const CommandDescription& command) {
    auto summary = command.description;
    summary.front() = static_cast<char>(std::tolower(static_cast<unsigned char>(summary.front())));
    if (summary.ends_with('.')) summary.pop_back();
    auto page = fmt::format(".Sh NAME\n.Nm {}\n.Nd {}\n.Sh SYNOPSIS\n.Nm \"{}\"\n",
                            nameOf(program, command, "-"), summary, nameOf(program, command, " "));
    if (&program == &command) return page + ".Ar SUBCOMMAND\n.Op Ar option ...\n.Nm\n.Fl -help | -version\n";
    for (const bool positional : {false, true}) // options first
        for (const auto& option : command.options)
            if (option.positional == positional && option.names.back() != "--help")
                page += synopsisLine(option);
    return page;
}

std::string optionList(const CommandDescription& command) {
    std::string list = ".Bl -tag -width Ds\n";
    for (const auto& option : command.options) list += heading(option) + roffText(option.description) + ".\n";
    return list + ".El\n";
}

std::string commandList(const CommandDescription& program) {
    std::string list = ".Bl -tag -width completion\n";
    for (const auto& command : program.subcommands)
        list += fmt::format(".It Cm {0}\n{1}; see\n.Xr {2}-{0} 1 .\n", command.name,
                            roffText(command.description), program.name);
    return list + ".El\n";
}

} // namespace orvo::manual
