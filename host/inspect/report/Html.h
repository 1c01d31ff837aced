// SPDX-License-Identifier: MIT
// Elements of a page, well-formed as HTML and as XML.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace orvo::host::html {

/// Text as content or attribute value: nothing in it is markup. What is no UTF-8, or a control character that
/// no page may contain, becomes a replacement character.
std::string escaped(std::string_view text);

using Attributes = std::vector<std::pair<const char*, std::string>>;

/// An element around `content`, which is markup; attribute values are text.
std::string tag(const char* name, const Attributes& attributes, const std::string& content);
std::string tag(const char* name, const std::string& content);

/// A table in a frame that scrolls where the page is narrow. Cells are text; columns named in `numbers`
/// (from 0) stand to the right.
struct Table {
    std::string caption;
    std::vector<std::string> heading;
    std::vector<std::vector<std::string>> rows;
    std::vector<std::size_t> numbers = {};
};
std::string tableOf(const Table& table);

/// A list of names and values, both text.
std::string listOf(const std::vector<std::pair<std::string, std::string>>& entries);

/// A part that can be folded away.
std::string details(const std::string& summary, const std::string& content, bool isOpen);

/// A section with a heading.
std::string section(const std::string& heading, const std::string& content);

} // namespace orvo::host::html
