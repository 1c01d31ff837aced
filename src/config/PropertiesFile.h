// SPDX-License-Identifier: MIT
// A text file of key/value pairs grouped in sections.
#pragma once

#include "config/PropertiesLines.h"
#include "platform/RecursiveMutex.h"

#include <map>
#include <string>

namespace orvo::templates::platform {

/// Reads "rt.conf" files and answers lookups by key.
///
/// Keys and section names ignore case unless made case-sensitive; values are kept as they are; lines that
/// mean nothing are skipped without a message. Threads: one object may be loaded and asked by several
/// threads; a reference that `property` returned holds until the next `load`.
class PropertiesFile {
public:
    PropertiesFile(bool sectionsEnabled, bool caseSensitiveKeys);

    /// Reads a file; false when it cannot be opened, and then nothing changes. `append` false drops what was
    /// there before; `overwrite` says whether the later (true) or the earlier of two equal keys wins.
    bool load(const std::string& fileName, bool append, bool overwrite);

    /// The value of a full key, or an empty text. `found`, if not null, tells whether there is one.
    const std::string& property(const std::string& key, bool* found);

private:
    std::map<std::string, std::string> entries_; // full key to value, under guard_
    const PropertiesLines form_;                 // before any line was read
    RecursiveMutex guard_;
    const std::string empty_;
};

} // namespace orvo::templates::platform
