// SPDX-License-Identifier: MIT
#include "cli/Completion.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <string_view>

namespace orvo::host {
namespace {

/// What the two scripts complete a value with; empty for an option without a value.
struct Completer {
    std::string bash, zsh;
};

bool isFile(std::string_view form) {
    return form == "FILE" || form == "IN" || form == "OUT" || form.find('.') < form.find("..."); // "OLD.json"
}

Completer completerOf(const OptionDescription& option) {
    const auto& form = option.form;
    if (form.empty()) return {};
    const auto choices = fmt::format("{}", fmt::join(option.choices, " "));
    if (!choices.empty()) return {choices, "(" + choices + ")"};
    if (form == "DIR") return {"@folder", "_files -/"};
    if (form.starts_with("COMMAND")) return {"@command", option.positional ? "_normal" : "_cmdstring"};
    return isFile(form) ? Completer{"@file", "_files"} : Completer{"@any", " "};
}

// The bash script has three tables of the command line, and this function, which looks things up in them. It
// first rejoins the words that bash splits at '=' and ':'.
constexpr const char* lookup = R"bash(
_orvo_gige() {
    local word glue="" words=() option="" command="" arguments=0 ended="" given=" " values kind="" current
    COMPREPLY=()
    for word in "${COMP_WORDS[@]:1:COMP_CWORD}"; do
        if [[ ${#words[@]} -gt 0 && ($glue || $word =~ ^[=:]+$) ]]; then words[-1]+=$word; else words+=("$word"); fi
        [[ $word =~ ^[=:]+$ ]] && glue=1 || glue=""
    done
    current=${words[-1]}
    unset 'words[-1]'
    for word in "${words[@]}"; do
        if [[ $option ]]; then option=""
        elif [[ ! $ended && $word == -- ]]; then ended=1
        elif [[ ! $ended && $word == -* ]]; then
            given+="${word%%=*} "
            [[ $word == *=* || ! $(_orvo_gige_values "$command" "$word") ]] || option=$word
        elif [[ ! $command ]]; then command=$word
        else arguments=$((arguments + 1)); fi
    done
    if [[ ! $option && ! $ended && $current == -*=* ]]; then
        option=${current%%=*}
        current=${current#*=}
    fi
    if [[ $option ]]; then kind=$(_orvo_gige_values "$command" "$option")
    elif [[ ! $ended && $current == -* ]]; then
        for word in $(_orvo_gige_options "$command"); do
            [[ $word != *'*' && $given == *" $word "* ]] || kind+="${word%'*'} "
        done
    elif [[ ! $command ]]; then kind=$(_orvo_gige_commands)
    else kind=$(_orvo_gige_values "$command" "$((arguments + 1))"); fi
    [[ $kind != @command || $arguments -eq 0 ]] || kind=@file
    case $kind in
    @file) values=(-f) ;;
    @folder) values=(-d) ;;
    @command) values=(-c) ;;
    @any) return ;;
    *) values=(-W "$kind") ;;
    esac
    [[ $kind != @file && $kind != @folder ]] || compopt -o filenames 2>/dev/null
    mapfile -t COMPREPLY < <(compgen "${values[@]}" -- "$current")
}
)bash";

std::string optionsRow(const CommandDescription& command, const std::string& name) {
    std::string words;
    for (const auto& option : command.options)
        for (const auto& each : option.names)
            if (!option.positional)
                words += (words.empty() ? "" : " ") + each + (option.repeatable ? "*" : "");
    return fmt::format("    '{}') echo '{}' ;;\n", name, words);
}

/// A row for each option that takes a value, and for each argument, by its number.
std::string valueRows(const CommandDescription& command, const std::string& name) {
    std::string rows;
    unsigned place = 0;
    for (const auto& option : command.options) {
        const auto kind = completerOf(option).bash;
        const auto number = option.positional ? std::to_string(++place) : "";
        for (const auto& each : option.names)
            if (!kind.empty())
                rows += fmt::format("    '{} {}'{}) echo '{}' ;;\n", name, option.positional ? number : each,
                                    option.positional && option.repeatable ? " | '" + name + " '[0-9]*" : "",
                                    kind);
    }
    return rows;
}

std::string table(const std::string& name, const std::string& key, const std::string& rows) {
    return fmt::format("_orvo_gige_{}() {{\n    case {} in\n{}    esac\n}}\n", name, key, rows);
}

// The zsh script has a call of _arguments for the program, and one for each subcommand.

/// Text within single quotes, where brackets and colons mean something to _arguments.
std::string escaped(const std::string& text) {
    std::string result;
    for (const char c : text) {
        if (std::string_view("[]:\\").find(c) != std::string_view::npos) result += '\\';
        result += c == '\'' ? "'\\''" : std::string(1, c);
    }
    return result;
}

std::string argumentWord(const OptionDescription& option, unsigned place) {
    const auto* const colons = option.repeatable ? ":::" : option.required ? ":" : "::";
    return fmt::format(" \\\n            '{}{}{}:{}'", option.repeatable ? "*" : std::to_string(place),
                       colons, escaped(option.names.front()), completerOf(option).zsh);
}

std::string optionWords(const OptionDescription& option) {
    const auto value =
        option.form.empty() ? "" : fmt::format(":{}:{}", escaped(option.form), completerOf(option).zsh);
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

std::string bashCompletion(const CommandDescription& program) {
    std::string options = optionsRow(program, "");
    std::string values = valueRows(program, "");
    std::vector<std::string> names;
    for (const auto& command : program.subcommands) {
        options += optionsRow(command, command.name);
        values += valueRows(command, command.name);
        names.push_back(command.name);
    }
    return fmt::format("# Completion of {0} for bash, written by '{0} completion bash'.\n"
                       "_orvo_gige_commands() {{ echo '{1}'; }}\n\n"
                       "# SUBCOMMAND: its options; those that may be repeated end in a star.\n{2}\n"
                       "# SUBCOMMAND OPTION, or SUBCOMMAND PLACE: what stands there.\n{3}{4}"
                       "complete -F _orvo_gige {0}\n",
                       program.name, fmt::join(names, " "), table("options", "$1", options),
                       table("values", "\"$1 $2\"", values), lookup);
}

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
