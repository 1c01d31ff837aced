// SPDX-License-Identifier: MIT
// Results as text.
#include "base/Output.h"

#include "base/Failure.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace orvo::host {

void print(const std::string& text) {
    if (std::fwrite(text.data(), 1, text.size(), stdout) == text.size() && std::fflush(stdout) == 0) return;
    const int reason = errno;
    throw Failure("cannot write to standard output: " + systemError(reason) +
                  "; nobody has read all results");
}

std::string textOf(const nlohmann::ordered_json& document) {
    // File names need not be UTF-8; what is not is shown by replacement characters.
    return document.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
}

void print(const nlohmann::ordered_json& document) {
    print(textOf(document));
}

std::string table(const std::vector<std::vector<std::string>>& rows) {
    std::vector<std::size_t> widths;
    for (const auto& row : rows) {
        widths.resize(std::max(widths.size(), row.size()));
        for (std::size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], row[i].size());
    }
    std::string text;
    for (const auto& row : rows) {
        for (std::size_t i = 0; i < row.size(); ++i)
            text += oneLine(row[i]) + std::string(widths[i] - row[i].size() + 2, ' ');
        text.erase(text.find_last_not_of(' ') + 1);
        text += '\n';
    }
    return text;
}

/// The first of these that is set counts, as in the C library.
bool hasUnicode() {
    for (const char* name : {"LC_ALL", "LC_CTYPE", "LANG"}) {
        const char* const value = std::getenv(name);
        if (!value || !*value) continue;
        const std::string_view locale = value;
        return locale.find("UTF-8") != std::string_view::npos ||
               locale.find("utf8") != std::string_view::npos;
    }
    return false;
}

std::string grouped(std::uint64_t number) {
    auto text = std::to_string(number);
    for (auto i = static_cast<std::ptrdiff_t>(text.size()) - 3; i > 0; i -= 3)
        text.insert(static_cast<std::size_t>(i), 1, ',');
    return text;
}

std::string counted(std::uint64_t number, const std::string& thing) {
    return grouped(number) + " " + thing + (number == 1 ? "" : "s");
}

} // namespace orvo::host
