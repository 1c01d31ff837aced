// SPDX-License-Identifier: MIT
// The script for zsh: one call of _arguments for the program, and one for each subcommand.
#include "cli/Completion.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <string_view>

namespace orvo::host {
namespace {

/// Text within single quotes, where _arguments itself would read brackets and colons.
std::string escaped(const std::string& text) {
    std::string result;
    for (const char c : text) {
        if (std::string_view("[]:\\").find(c) != std::string_view::npos) result += '\\';
        result += c == '\'' ? "'\\''" : std::string(1, c);
    }
    return result;
}

std::string action(const OptionDescription& option) {
    switch (kindOf(option)) {
    case ValueKind::Choice:
        return fmt::format("({})", fmt::join(option.choices, " "));
    case ValueKind::File:
        return "_files";
    case ValueKind::Folder:
        return "_files -/";
    case ValueKind::ShellCommand:
        return option.positional ? "_normal" : "_cmdstring";
    default:
        return " "; // a value, but nobody knows which
    }
}

std::string argumentWord(const OptionDescription& option, unsigned place) {
    const auto* const colons = option.repeatable ? ":::" : option.required ? ":" : "::";
    return fmt::format(" \\\n            '{}{}{}:{}'", option.repeatable ? "*" : std::to_string(place),
                       colons, escaped(option.names.front()), action(option));
}

std::string optionWords(const OptionDescription& option) {
    const auto value = option.form.empty() ? "" : fmt::format(":{}:{}", escaped(option.form), action(option));
    std::string words;
    for (const auto& name : option.names)
        words += fmt::format(" \\\n            '{}{}{}[{}]{}'",
                             option.repeatable ? "*" : fmt::format("({})", fmt::join(option.names, " ")),
                             name, !value.empty() && name.starts_with("--") ? "=" : "",
                             escaped(option.description), value);
    return words;
}

std::string words(const CommandDescription& command) {
    std::string text;
    unsigned place = 0;
    for (const auto& option : command.options)
        text += option.positional ? argumentWord(option, ++place) : optionWords(option);
    return text;
}

} // namespace

std::string zshCompletion(const CommandDescription& program) {
    std::string names;
    std::string cases;
    for (const auto& command : program.subcommands) {
        names += fmt::format("            '{}:{}'\n", command.name, escaped(command.description));
        cases += fmt::format("        {}) _arguments -S{} ;;\n", command.name, words(command));
    }
    return fmt::format(R"zsh(#compdef {0}
# Completion of {0} for zsh, written by '{0} completion zsh'.
_orvo_gige() {{
    local context state state_descr line curcontext="$curcontext"
    local -A opt_args
    _arguments -C{1} \
            '1:subcommand:->subcommand' \
            '*::argument:->arguments' && return
    case $state in
    subcommand)
        local -a subcommands=(
{2}        )
        _describe -t commands subcommand subcommands ;;
    arguments)
        case $words[1] in
{3}        esac ;;
    esac
}}
if [ "$funcstack[1]" = _orvo-gige ]; then _orvo_gige "$@"; else compdef _orvo_gige {0}; fi
)zsh",
                       program.name, words(program), names, cases);
}

} // namespace orvo::host
