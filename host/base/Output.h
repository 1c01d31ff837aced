// SPDX-License-Identifier: MIT
// Results on standard output, and messages on standard error.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include <cstdint>
#include <string>
#include <vector>

namespace orvo::host {

/// Writes to standard output. Errors: Failure when that fails (a full disk); OutputClosed when its reader has
/// gone.
void print(const std::string& text);
inline void print(const char* text) {
    print(std::string(text));
}

/// Writes what a command reports after its work. A reader that has gone misses it, and nothing else changes:
/// the exit code still tells how the work ended. Errors: Failure, as of `print`.
void printReport(const std::string& text);
void printReport(const nlohmann::ordered_json& document);
/// On standard error where standard output has frames.
void printReport(const std::string& text, bool outputHasFrames);

/// A JSON document, indented, with names in the order in which they were added.
std::string jsonText(const nlohmann::ordered_json& document);
void print(const nlohmann::ordered_json& document);

/// Writes "orvo-gige: TEXT" to standard error as one line. Any thread; lines of several threads do not mix.
void notice(std::string text);

/// Columns aligned to the left, with two blanks between them; the first row is the heading. Control
/// characters in cells are replaced.
std::string table(const std::vector<std::vector<std::string>>& rows);

/// Whether the locale's environment variables name UTF-8.
bool hasUnicode();

/// A number with a comma between thousands.
std::string grouped(std::uint64_t number);

/// A number and its unit, "1 frame" or "2,000 frames".
std::string counted(std::uint64_t number, const std::string& thing);

} // namespace orvo::host
