// SPDX-License-Identifier: MIT
// Escaping, and putting together.
#include "inspect/report/Html.h"

#include <algorithm>

namespace orvo::host::html {
namespace {

constexpr auto replacement = "\xEF\xBF\xBD";

/// Bytes of the UTF-8 character that `text` begins with; 0 where it begins with none.
std::size_t characterBytes(std::string_view text) {
    const auto byte = [text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const auto first = byte(0);
    const std::size_t bytes = first < 0x80                    ? 1
                              : first >= 0xC2 && first < 0xE0 ? 2
                              : first >= 0xE0 && first < 0xF0 ? 3
                              : first >= 0xF0 && first < 0xF5 ? 4
                                                              : 0;
    if (bytes == 0 || text.size() < bytes) return 0;
    for (std::size_t i = 1; i < bytes; ++i)
        if ((byte(i) & 0xC0) != 0x80) return 0;
    if (bytes < 3) return bytes;
    const bool isOverlong = (first == 0xE0 && byte(1) < 0xA0) || (first == 0xF0 && byte(1) < 0x90);
    const bool isNone = (first == 0xED && byte(1) >= 0xA0) || (first == 0xF4 && byte(1) >= 0x90) ||
                        (first == 0xEF && byte(1) == 0xBF && byte(2) >= 0xBE); // surrogates, beyond, U+FFFE
    return isOverlong || isNone ? 0 : bytes;
}

std::string escapedByte(char c) {
    switch (c) {
    case '&':
        return "&amp;";
    case '<':
        return "&lt;";
    case '>':
        return "&gt;";
    case '"':
        return "&quot;";
    case '\'':
        return "&#39;";
    case '\n':
    case '\t':
        return {c};
    default:
        return static_cast<unsigned char>(c) < 0x20 || c == 0x7F ? replacement : std::string{c};
    }
}

std::string rowOf(const char* cell, const Table& table, const std::vector<std::string>& texts) {
    std::string row;
    for (std::size_t i = 0; i < texts.size(); ++i) {
        Attributes attributes;
        if (std::ranges::find(table.numbers, i) != table.numbers.end())
            attributes.emplace_back("class", "number");
        if (std::string_view(cell) == "th") attributes.emplace_back("scope", "col");
        row += tag(cell, attributes, escaped(texts[i]));
    }
    return tag("tr", row) + "\n";
}

} // namespace

std::string escaped(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        const auto bytes = characterBytes(text);
        if (bytes == 0)
            result += replacement;
        else if (bytes == 1)
            result += escapedByte(text.front());
        else
            result += text.substr(0, bytes);
        text.remove_prefix(std::max<std::size_t>(bytes, 1));
    }
    return result;
}

std::string tag(const char* name, const Attributes& attributes, const std::string& content) {
    std::string text = std::string("<") + name;
    for (const auto& [key, value] : attributes)
        text += std::string(" ") + key + "=\"" + escaped(value) + "\"";
    return text + ">" + content + "</" + name + ">";
}

std::string tag(const char* name, const std::string& content) {
    return tag(name, {}, content);
}

std::string tableOf(const Table& table) {
    std::string body;
    for (const auto& row : table.rows) body += rowOf("td", table, row);
    const auto content = tag("caption", escaped(table.caption)) + "\n" +
                         tag("thead", rowOf("th", table, table.heading)) + tag("tbody", "\n" + body);
    return tag("div", {{"class", "scroll"}}, tag("table", content)) + "\n";
}

std::string listOf(const std::vector<std::pair<std::string, std::string>>& entries) {
    std::string content;
    for (const auto& [name, value] : entries)
        content += tag("div", tag("dt", escaped(name)) + tag("dd", escaped(value))) + "\n";
    return tag("dl", content) + "\n";
}

std::string details(const std::string& summary, const std::string& content, bool isOpen) {
    Attributes attributes;
    if (isOpen) attributes.emplace_back("open", "open");
    return tag("details", attributes, tag("summary", escaped(summary)) + content) + "\n";
}

std::string section(const std::string& heading, const std::string& content) {
    return tag("section", tag("h2", escaped(heading)) + "\n" + content) + "\n";
}

} // namespace orvo::host::html
