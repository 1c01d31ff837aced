// SPDX-License-Identifier: MIT
// Sections of a page that are made from the description.
#include "cli/CommandPage.h"

#include <fmt/format.h>

#include <cctype>
#include <sstream>

namespace orvo::manual {
namespace {

using host::CommandDescription;
using host::OptionDescription;

constexpr std::size_t lineBytes = 80;

/// A line that begins so would be one of control.
std::string guarded(const std::string& line) {
    return (line.starts_with('.') || line.starts_with('\'') ? "\\&" : "") + line;
}

/// The program, and the subcommand behind it.
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
        words = (option.repeatable ? " Fl -" : "") + argument(option);
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
    return guarded(result);
}

std::string folded(const std::string& page) {
    std::string result;
    std::istringstream lines(page);
    bool isLiteral = false;
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with(".Bd")) isLiteral = true;
        if (line.starts_with(".Ed")) isLiteral = false;
        while (!isLiteral && !line.starts_with('.') && line.size() > lineBytes) {
            const auto end = line.rfind(' ', lineBytes);
            if (end == std::string::npos) break;
            result += line.substr(0, end) + "\n";
            line = guarded(line.substr(end + 1));
        }
        result += line + "\n";
    }
    return result;
}

std::string nameAndSynopsis(const CommandDescription& program, const CommandDescription& command) {
    auto summary = command.description;
    summary.front() = static_cast<char>(std::tolower(static_cast<unsigned char>(summary.front())));
    if (summary.ends_with('.')) summary.pop_back();
    auto page = fmt::format(".Sh NAME\n.Nm {}\n.Nd {}\n.Sh SYNOPSIS\n.Nm \"{}\"\n",
                            nameOf(program, command, "-"), summary, nameOf(program, command, " "));
    if (&program == &command) return page + ".Ar SUBCOMMAND\n.Op Ar option ...\n.Nm\n.Fl -help | -version\n";
    for (const bool positional : {false, true}) // places count behind options
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
