// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace orvo::templates::platform {

/// Reads the lines of one properties file in their order. A '#' starts a comment anywhere in a line. "[name]"
/// begins a section; in a section "key = value" defines the full key "section::key". The value may hold
/// further '='; white space around key and value is removed. Lines before the first section and lines of any
/// other form are meaningless. The global locale decides about upper case and white space.
class PropertiesLines {
public:
    enum class Line { Blank, Section, Entry, Meaningless };

    PropertiesLines(bool sectionsEnabled, bool caseSensitiveKeys);

    Line read(const std::string& line);

    /// Full key and value of the last entry.
    const std::string& key() const noexcept { return key_; }
    const std::string& value() const noexcept { return value_; }

    /// A full key as it is stored: in upper case unless keys are case-sensitive.
    std::string normalisedKey(const std::string& key) const;

private:
    Line readEntry(const std::string& line);

    const bool sectionsEnabled_;
    const bool caseSensitiveKeys_;
    std::string section_, key_, value_;
};

} // namespace orvo::templates::platform
