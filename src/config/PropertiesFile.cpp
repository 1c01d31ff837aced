// SPDX-License-Identifier: MIT
// Parsing of properties files.
#include "config/PropertiesFile.h"

#include <boost/algorithm/string/case_conv.hpp>
#include <boost/algorithm/string/trim.hpp>

#include <fstream>

namespace orvo::templates::platform {

using boost::algorithm::to_upper_copy;
using boost::algorithm::trim_copy;

PropertiesFile::PropertiesFile(bool sectionsEnabled, bool caseSensitiveKeys)
    : sectionsEnabled_(sectionsEnabled), caseSensitiveKeys_(caseSensitiveKeys) {}

bool PropertiesFile::load(const std::string& fileName, bool append, bool overwrite) {
    const RecursiveMutexGuard guard(&guard_);
    std::ifstream file(fileName);
    if (!file) return false;
    if (!append) entries_.clear();
    std::string section;
    for (std::string line; std::getline(file, line);) {
        line = trim_copy(line.substr(0, line.find('#')));
        if (!line.empty()) readLine(line, section, overwrite);
    }
    return true;
}

void PropertiesFile::readLine(const std::string& line, std::string& section, bool overwrite) {
    if (sectionsEnabled_ && line.front() == '[') {
        if (line.size() < 3) return;
        if (line.back() == ']') {
            section = normalisedKey(trim_copy(line.substr(1, line.size() - 2)));
            return;
        }
    }
    if (!sectionsEnabled_ || !section.empty()) readEntry(line, section, overwrite);
}

void PropertiesFile::readEntry(const std::string& line, const std::string& section, bool overwrite) {
    const auto equals = line.find('=');
    if (equals == std::string::npos) return;
    const std::string name = trim_copy(line.substr(0, equals));
    const std::string key = normalisedKey(sectionsEnabled_ ? section + "::" + name : name);
    const std::string value = trim_copy(line.substr(equals + 1));
    if (overwrite)
        entries_[key] = value;
    else
        entries_.emplace(key, value);
}

const std::string& PropertiesFile::property(const std::string& key, bool* found) {
    const RecursiveMutexGuard guard(&guard_);
    const auto entry = entries_.find(normalisedKey(key));
    const bool present = entry != entries_.end();
    if (found) *found = present;
    return present ? entry->second : empty_;
}

std::string PropertiesFile::normalisedKey(const std::string& key) const {
    return caseSensitiveKeys_ ? key : to_upper_copy(key);
}

} // namespace orvo::templates::platform
