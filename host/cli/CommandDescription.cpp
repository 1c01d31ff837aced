// SPDX-License-Identifier: MIT
// Reading of the forms that the help shows.
#include "cli/CommandDescription.h"

#include <algorithm>
#include <array>
#include <sstream>
#include <string_view>

namespace orvo::host {
namespace {

constexpr std::array fileForms{"FILE", "IN", "OUT"};

bool isFile(std::string_view form) {
    return std::ranges::find(fileForms, form) != fileForms.end() || form.find('.') < form.find("...");
}

} // namespace

std::vector<std::string> choicesOf(const std::string& form) {
    const auto isLiteral = [](char c) { return (c >= 'a' && c <= 'z') || c == '-'; };
    std::vector<std::string> choices;
    std::istringstream words(form);
    for (std::string word; std::getline(words, word, '|');)
        if (!word.empty() && std::ranges::all_of(word, isLiteral)) choices.push_back(word);
    return choices;
}

ValueKind kindOf(const OptionDescription& option) {
    const auto& form = option.form;
    if (form.empty()) return ValueKind::None;
    if (!option.choices.empty()) return ValueKind::Choice;
    if (form == "DIR") return ValueKind::Folder;
    if (form.starts_with("COMMAND")) return ValueKind::ShellCommand;
    return isFile(form) ? ValueKind::File : ValueKind::Any; // "OLD.json" is one, too
}

} // namespace orvo::host
