// SPDX-License-Identifier: MIT
// Writing of results to standard output.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include <cstdint>
#include <string>
#include <vector>

namespace orvo::host {

/// Writes to standard output. Errors: Failure when it cannot take it (a full disk, a closed pipe).
void print(const std::string& text);
inline void print(const char* text) {
    print(std::string(text));
}

/// One JSON document as text, indented, names in the order in which they were added.
std::string textOf(const nlohmann::ordered_json& document);
void print(const nlohmann::ordered_json& document);

/// Columns aligned to the left, two blanks between them; the first row is the heading. Cells are shown as one
/// line each, without control characters.
std::string table(const std::vector<std::vector<std::string>>& rows);

/// Whether what reads standard output is said to know UTF-8, by the locale's variables.
bool hasUnicode();

/// A number with a comma between thousands.
std::string grouped(std::uint64_t number);

/// A number and what it counts, "1 frame" or "2,000 frames".
std::string counted(std::uint64_t number, const std::string& thing);

} // namespace orvo::host
