// SPDX-License-Identifier: MIT
// The form of properties files, line by line.
#pragma once

#include <string>

namespace orvo::templates::platform {

/// Reads the lines of one properties file in their order: a '#' starts a comment anywhere; "[name]" begins a
/// section; in a section "key = value" defines the full key "section::key" (the value may hold further '=';
/// white space around key and value is dropped). Lines before the first section and lines of any other form
/// mean nothing. Upper-casing and white space are those of the global locale.
class PropertiesLines {
public:
    enum class Line { Blank, Section, Entry, Meaningless };

    PropertiesLines(bool sectionsEnabled, bool caseSensitiveKeys);

    Line read(const std::string& line);

    /// Of the last entry.
    const std::string& key() const noexcept { return key_; }
    const std::string& value() const noexcept { return value_; }

    /// A full key in the form that `key` has.
    std::string normalisedKey(const std::string& key) const;

private:
    Line readEntry(const std::string& line);

    const bool sectionsEnabled_;
    const bool caseSensitiveKeys_;
    std::string section_, key_, value_;
};

} // namespace orvo::templates::platform
