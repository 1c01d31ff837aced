// SPDX-License-Identifier: MIT
// Elements of a page, well-formed both as HTML and as XML.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace orvo::host::html {

/// Escapes text for use as content or attribute value. Invalid UTF-8, and control characters that a page must
/// not contain, become replacement characters.
std::string escaped(std::string_view text);

using Attributes = std::vector<std::pair<const char*, std::string>>;

/// An element around `content`, which is markup; attribute values are text.
std::string tag(const char* name, const Attributes& attributes, const std::string& content);
std::string tag(const char* name, const std::string& content);

/// A table; where the page is narrow, each row becomes a paragraph. Cells are text; columns listed in
/// `numbers`, counted from 0, are aligned to the right.
struct Table {
    std::string caption; ///< empty: none
    std::vector<std::string> heading;
    std::vector<std::vector<std::string>> rows;
    std::vector<std::size_t> numbers = {};
};
std::string tableOf(const Table& table);

/// A list of names and values, both text.
std::string listOf(const std::vector<std::pair<std::string, std::string>>& entries);

/// A part that is folded away until its summary is clicked.
std::string details(const std::string& summary, const std::string& content);

/// A section with a heading.
std::string section(const std::string& heading, const std::string& content);

} // namespace orvo::host::html
