// SPDX-License-Identifier: MIT
#include "base/Output.h"

#include "base/Failure.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace orvo::host {

void print(const std::string& text) {
    if (std::fwrite(text.data(), 1, text.size(), stdout) == text.size() && std::fflush(stdout) == 0) return;
    const int reason = errno;
    if (reason == EPIPE) throw OutputClosed();
    throw Failure("cannot write to standard output: " + systemError(reason) +
                  "; the results are incomplete, write them to another place");
}

void printReport(const std::string& text) {
    try {
        print(text);
    } catch (const OutputClosed&) { // the report has no reader
    }
}

void printReport(const nlohmann::ordered_json& document) {
    printReport(jsonText(document));
}

void printReport(const std::string& text, bool outputHasFrames) {
    if (outputHasFrames)
        std::fputs(text.c_str(), stderr);
    else
        printReport(text);
}

std::string jsonText(const nlohmann::ordered_json& document) {
    // File names need not be UTF-8: other bytes become replacement characters.
    return document.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
}

void print(const nlohmann::ordered_json& document) {
    print(jsonText(document));
}

void notice(std::string text) {
    std::ranges::replace(text, '\n', ' ');
    std::fprintf(stderr, "orvo-gige: %s\n", text.c_str());
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

// The first variable that is set decides, as in the C library.
bool hasUnicode() {
    for (const char* name : {"LC_ALL", "LC_CTYPE", "LANG"}) {
        const char* const value = std::getenv(name);
        if (value && *value) return std::strstr(value, "UTF-8") || std::strstr(value, "utf8");
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
