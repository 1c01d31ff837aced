// SPDX-License-Identifier: MIT
#include "inspect/report/Html.h"

#include <QString>

#include <algorithm>

namespace orvo::host::html {
namespace {

constexpr std::size_t longText = 40; // bytes, from which a value has a line of its own

/// Control characters that a page must not contain, and the two that are no characters in XML.
bool isForbidden(QChar c) {
    return (c < u' ' && c != u'\n' && c != u'\t') || c == u'\x7F' || c >= u'\uFFFE';
}

std::string rowOf(const char* cell, const Table& table, const std::vector<std::string>& texts) {
    std::string row;
    for (std::size_t i = 0; i < texts.size(); ++i) {
        Attributes attributes;
        if (std::ranges::find(table.numbers, i) != table.numbers.end())
            attributes.emplace_back("class", "number");
        if (std::string_view(cell) == "th")
            attributes.emplace_back("scope", "col");
        else
            attributes.emplace_back("data-heading", table.heading[i]); // shown where the page is narrow
        row += tag(cell, attributes, escaped(texts[i]));
    }
    return tag("tr", row) + "\n";
}

} // namespace

std::string escaped(std::string_view text) {
    auto shown = QString::fromStdString(std::string(text)); // which replaces invalid UTF-8
    std::ranges::replace_if(shown, isForbidden, QChar(QChar::ReplacementCharacter));
    return shown.toHtmlEscaped().toStdString();
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
    const auto caption = table.caption.empty() ? "" : tag("caption", escaped(table.caption)) + "\n";
    const auto content =
        caption + tag("thead", rowOf("th", table, table.heading)) + tag("tbody", "\n" + body);
    return tag("div", {{"class", "scroll"}}, tag("table", content)) + "\n";
}

std::string listOf(const std::vector<std::pair<std::string, std::string>>& entries) {
    std::string content;
    for (const auto& [name, value] : entries)
        content += tag("div", {{"class", value.size() > longText ? "long" : "short"}},
                       tag("dt", escaped(name)) + tag("dd", escaped(value))) +
                   "\n";
    return tag("dl", content) + "\n";
}

std::string details(const std::string& summary, const std::string& content) {
    return tag("details", tag("summary", escaped(summary)) + content) + "\n";
}

std::string section(const std::string& heading, const std::string& content) {
    return tag("section", tag("h2", escaped(heading)) + "\n" + content) + "\n";
}

} // namespace orvo::host::html
