// SPDX-License-Identifier: MIT
#include "config/PropertiesFile.h"

#include <filesystem>
#include <fstream>

namespace orvo::templates::platform {

PropertiesFile::PropertiesFile(bool sectionsEnabled, bool caseSensitiveKeys)
    : form_(sectionsEnabled, caseSensitiveKeys) {}

bool PropertiesFile::load(const std::string& fileName, bool append, bool overwrite) {
    const RecursiveMutexGuard guard(&guard_);
    std::error_code reason;
    if (!std::filesystem::is_regular_file(fileName, reason))
        return false; // to open a pipe is to wait for its writer
    std::ifstream file(fileName);
    if (!file) return false;
    if (!append) entries_.clear();
    PropertiesLines lines = form_;
    for (std::string line; std::getline(file, line);) {
        if (lines.read(line) != PropertiesLines::Line::Entry) continue;
        if (overwrite)
            entries_[lines.key()] = lines.value();
        else
            entries_.emplace(lines.key(), lines.value());
    }
    return true;
}

const std::string& PropertiesFile::property(const std::string& key, bool* found) {
    const RecursiveMutexGuard guard(&guard_);
    const auto entry = entries_.find(form_.normalisedKey(key));
    const bool present = entry != entries_.end();
    if (found) *found = present;
    return present ? entry->second : empty_;
}

} // namespace orvo::templates::platform
