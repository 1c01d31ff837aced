// SPDX-License-Identifier: MIT
// The script for bash: three tables of the command line, and one function that looks things up in them.
#include "cli/Completion.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

namespace orvo::host {
namespace {

// Words of a line are counted from the program's name on; bash splits them at '=' and ':' too, which is
// undone.
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

std::string kindText(const OptionDescription& option) {
    switch (kindOf(option)) {
    case ValueKind::None:
        return "";
    case ValueKind::Any:
        return "@any";
    case ValueKind::Choice:
        return fmt::format("{}", fmt::join(option.choices, " "));
    case ValueKind::File:
        return "@file";
    case ValueKind::Folder:
        return "@folder";
    case ValueKind::ShellCommand:
        return "@command";
    }
    return "";
}

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
        const auto kind = kindText(option);
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

} // namespace orvo::host
