// SPDX-License-Identifier: MIT
// Reading of properties files, with the plug-in's own eyes.
#include "checkup/settings/PropertiesText.h"

#include "base/Failure.h"

#include <config/PropertiesLines.h>
#include <config/TweakPropertyTable.h>

#include <algorithm>
#include <cerrno>
#include <fstream>

namespace orvo::host {
namespace {

namespace fs = std::filesystem;
namespace platform = templates::platform;

platform::PropertiesLines linesOfPlugin() {
    return {true, false};
}

bool isProperty(const std::string& key) {
    const auto lines = linesOfPlugin();
    for (const auto* row = platform::tweakPropertyTable; row->key; ++row)
        if (lines.normalisedKey(row->key) == key) return true;
    return false;
}

/// Empty: the file can be read. A pipe would keep its reader waiting.
std::string obstacleOf(const fs::path& path) {
    std::error_code reason;
    if (fs::is_directory(path, reason)) return "it is a directory";
    if (!reason && !fs::is_regular_file(path, reason)) return "it is no file";
    errno = 0;
    if (const std::ifstream file(path); file) return "";
    return systemError(errno);
}

void readLine(PropertiesText& text, platform::PropertiesLines& lines, const std::string& line,
              unsigned number) {
    using Line = platform::PropertiesLines::Line;
    const auto kind = lines.read(line);
    if (kind == Line::Meaningless)
        text.useless.push_back(
            {number, quoted(line) + " is neither [SECTION] nor, in a section, KEY = VALUE"});
    if (kind != Line::Entry) return;
    text.entries.push_back({lines.key(), lines.value(), number});
    if (!isProperty(lines.key()))
        text.useless.push_back({number, "there is no property " + quoted(lines.key())});
}

} // namespace

const PropertiesText::Entry* PropertiesText::find(const std::string& key) const {
    const auto wanted = linesOfPlugin().normalisedKey(key);
    const auto found = std::find_if(entries.rbegin(), entries.rend(),
                                    [&](const Entry& entry) { return entry.key == wanted; });
    return found == entries.rend() ? nullptr : &*found;
}

PropertiesText readPropertiesText(const fs::path& path) {
    PropertiesText text{.path = path};
    std::error_code reason;
    text.isThere = !path.empty() && fs::status(path, reason).type() != fs::file_type::not_found;
    if (!text.isThere) return text;
    text.error = obstacleOf(path);
    if (!text.error.empty()) return text;
    auto lines = linesOfPlugin();
    std::ifstream file(path);
    unsigned number = 0;
    for (std::string line; std::getline(file, line);) readLine(text, lines, line, ++number);
    return text;
}

} // namespace orvo::host
