// SPDX-License-Identifier: MIT
#include "cli/HelpText.h"

#include "base/Numbers.h"

#include <fmt/format.h>

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <sstream>
#include <vector>

namespace orvo::host {
namespace {

constexpr std::size_t leastWidth = 40;    // a description keeps half of it
constexpr std::size_t mostWidth = 10'000; // of a line that is practically never broken
constexpr std::size_t widestNames = 26;   // longer ones have a line of their own
constexpr std::size_t usualWidth = 80;

struct Entry {
    std::string names, description;
};
using Entries = std::vector<Entry>;

/// The words of `text`. One longer than `room` comes in pieces that end with a '|'.
std::vector<std::string> wordsOf(const std::string& text, std::size_t room) {
    std::vector<std::string> words;
    std::istringstream stream(text);
    for (std::string word; stream >> word; words.push_back(word))
        while (word.size() > room) {
            const auto bar = word.rfind('|', room - 1);
            if (bar == std::string::npos) break;
            words.push_back(word.substr(0, bar + 1));
            word.erase(0, bar + 1);
        }
    return words;
}

/// `text` from column `indent` on; the first line has reached `column` already.
std::string wrapped(const std::string& text, std::size_t column, std::size_t indent, std::size_t width) {
    std::string result(column < indent ? indent - column : 0, ' ');
    column = std::max(column, indent);
    bool isFirst = true;
    for (const auto& word : wordsOf(text, width - indent)) {
        const bool continues = result.ends_with('|');
        if (!isFirst && column + (continues ? 0 : 1) + word.size() > width) {
            result += "\n" + std::string(indent, ' ');
            column = indent;
        } else if (!isFirst && !continues) {
            result += ' ';
            ++column;
        }
        result += word;
        column += word.size();
        isFirst = false;
    }
    return result + "\n";
}

std::string entriesText(const char* heading, const Entries& entries, std::size_t width) {
    if (entries.empty()) return "";
    std::size_t names = 0;
    for (const auto& entry : entries)
        if (entry.names.size() <= widestNames) names = std::max(names, entry.names.size());
    const auto indent = std::min(names + 4, width / 2);
    std::string text = std::string("\n") + heading + ":\n";
    for (const auto& [left, description] : entries) {
        const bool fits = left.size() + 4 <= indent;
        text += fits ? "  " + left : wrapped(left, 0, 2, width);
        text += wrapped(description, fits ? left.size() + 2 : 0, indent, width);
    }
    return text;
}

std::string namesOf(const OptionDescription& option) {
    if (option.positional) return option.form;
    std::string names = option.names.front().starts_with("--") ? "    " : ""; // long names are aligned
    for (const auto& name : option.names) names += (&name == option.names.data() ? "" : ", ") + name;
    return names + (option.form.empty() ? "" : " " + option.form);
}

Entries optionEntries(const CommandDescription& command, bool positional) {
    Entries entries;
    for (const auto& option : command.options)
        if (option.positional == positional) entries.push_back({namesOf(option), option.description});
    return entries;
}

Entries subcommandEntries(const CommandDescription& command) {
    Entries entries;
    for (const auto& subcommand : command.subcommands)
        entries.push_back({subcommand.name, subcommand.description});
    return entries;
}

std::string usageOf(const CommandDescription& program, const CommandDescription& command) {
    if (&program == &command) return program.name + " SUBCOMMAND [OPTION...]";
    std::string words = program.name + " " + command.name + " [OPTION...]";
    for (const auto& option : command.options) {
        if (!option.positional && !option.required) continue;
        const auto word = (option.positional ? "" : option.names.back() + " ") + option.form;
        const auto* const dashes = option.followsDashes() ? "-- " : "";
        words += option.required ? " " + word : fmt::format(" [{}{}]", dashes, word);
    }
    return words;
}

} // namespace

std::string helpText(const CommandDescription& program, const CommandDescription& command,
                     std::size_t width) {
    width = std::clamp(width, leastWidth, mostWidth);
    return wrapped(command.description, 0, 0, width) +
           "\nUsage: " + wrapped(usageOf(program, command), 7, 7, width) +
           entriesText("Arguments", optionEntries(command, true), width) +
           entriesText("Options", optionEntries(command, false), width) +
           entriesText("Subcommands", subcommandEntries(command), width);
}

std::size_t helpWidth() {
    const char* const columns = std::getenv("COLUMNS");
    if (const auto width = wholeNumber(columns ? columns : ""); width && *width > 0) return *width;
    winsize size = {};
    return ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : usualWidth;
}

} // namespace orvo::host
