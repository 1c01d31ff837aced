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
/// Keys and section names ignore case unless the object is made case-sensitive; values are kept as they are;
/// lines without meaning are skipped without a message. Threads: several threads may load and read one
/// object; a reference that `property` returned is valid until the next `load`.
class PropertiesFile {
public:
    PropertiesFile(bool sectionsEnabled, bool caseSensitiveKeys);

    /// Reads a file. False when it cannot be opened or is no regular file; nothing changes then. `append`
    /// false removes the entries from before. Of two equal keys the later one wins if `overwrite` is true,
    /// otherwise the earlier one.
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
