// SPDX-License-Identifier: MIT
#include "manual/GuidePart.h"

#include "cli/CommandPage.h"

#include <boost/algorithm/string/trim.hpp>

#include <regex>
#include <sstream>
#include <stdexcept>
#include <vector>

namespace orvo::manual {
namespace {

using Cells = std::vector<std::string>;

/// The cells of a line "| a | b |"; none for any other line.
Cells cellsOf(const std::string& line) {
    Cells cells;
    if (!line.starts_with('|')) return cells;
    std::istringstream row(line.substr(1));
    for (std::string cell; std::getline(row, cell, '|');) cells.push_back(boost::algorithm::trim_copy(cell));
    return cells;
}

/// Puts code into quotation marks, reduces links to their text, and starts each sentence on a new line.
std::string plain(const std::string& markdown) {
    const auto withoutLinks = std::regex_replace(markdown, std::regex(R"(\[([^\]]*)\]\([^)]*\))"), "$1");
    const auto sentences =
        std::regex_replace(roffText(withoutLinks), std::regex("([a-z)])\\. (?=[A-Z])"), "$1.\n");
    return std::regex_replace(sentences, std::regex("`([^`]*)`"), "\\(oq$1\\(cq");
}

std::string tagOf(std::string cell) {
    std::erase(cell, '`');
    return ".It Li \"" + roffText(cell) + "\"\n";
}

std::string itemOf(const Cells& headings, const Cells& row) {
    std::string text = tagOf(row.front());
    for (std::size_t i = 1; i < row.size(); ++i)
        if (!row[i].empty()) text += (i == 1 ? "" : ";\n" + headings[i] + ": ") + plain(row[i]);
    return text + "\n";
}

} // namespace

std::string exampleOf(const std::string& guide, const std::string& language) {
    const auto fence = "```" + language + "\n";
    const auto begin = guide.find(fence);
    const auto end = begin == std::string::npos ? begin : guide.find("```", begin + fence.size());
    if (end == std::string::npos) throw std::runtime_error("no example in " + language);
    std::istringstream lines(guide.substr(begin + fence.size(), end - begin - fence.size()));
    std::string display = ".Bd -literal\n";
    for (std::string line; std::getline(lines, line);) display += roffText(line) + "\n";
    return display + ".Ed\n";
}

std::string tableOf(const std::string& guide, const std::string& heading) {
    std::istringstream lines(guide);
    Cells headings;
    std::string list;
    for (std::string line; std::getline(lines, line);) {
        const auto cells = cellsOf(line);
        if (headings.empty() && !cells.empty() && cells.front() == heading)
            headings = cells;
        else if (!headings.empty() && cells.empty())
            break;
        else if (!headings.empty() && !cells.front().starts_with("---"))
            list += itemOf(headings, cells);
    }
    if (list.empty()) throw std::runtime_error("no table of '" + heading + "'");
    return ".Bl -tag -width Ds\n" + list + ".El\n";
}

} // namespace orvo::manual
