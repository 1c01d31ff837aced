// SPDX-License-Identifier: MIT
// A text file of key/value pairs grouped in sections.
#pragma once

#include "platform/RecursiveMutex.h"

#include <map>
#include <string>
#include <string_view>

namespace orvo::templates::platform {

/// Reads "rt.conf" files and answers lookups by key.
///
/// Line by line: a '#' starts a comment anywhere; blank lines are skipped; "[name]" begins a section; in a
/// section "key = value" defines the full key "section::key" (the value may hold further '='; white space
/// around key and value is dropped). Lines before the first section and lines of any other form are skipped
/// without a message. Keys and section names ignore case unless made case-sensitive; values are kept as they
/// are. Upper-casing and white space are those of the global locale. Threads: one object may be loaded and
/// asked by several threads; a reference that `property` returned holds until the next `load`.
class PropertiesFile {
public:
    PropertiesFile(bool sectionsEnabled, bool caseSensitiveKeys);

    /// Reads a file; false when it cannot be opened, and then nothing changes. `append` false drops what was
    /// there before; `overwrite` says whether the later (true) or the earlier of two equal keys wins.
    bool load(const std::string& fileName, bool append, bool overwrite);

    /// The value of a full key, or an empty text. `found`, if not null, tells whether there is one.
    const std::string& property(const std::string& key, bool* found);

private:
    /// The section that holds after `line` (white space stripped, not empty), which is stored if it is an
    /// entry.
    void readLine(const std::string& line, std::string& section, bool overwrite);
    void readEntry(const std::string& line, const std::string& section, bool overwrite);
    std::string normalisedKey(const std::string& key) const;

    std::map<std::string, std::string> entries_; // full key to value, under guard_
    const bool sectionsEnabled_;
    const bool caseSensitiveKeys_;
    RecursiveMutex guard_;
    const std::string empty_;
};

} // namespace orvo::templates::platform
