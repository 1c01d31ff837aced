// SPDX-License-Identifier: MIT
// Resolution of a tuning value from the places where it can be set.
#pragma once

#include "config/PropertiesFile.h"
#include "config/TweakPropertyTable.h"
#include "platform/RecursiveMutex.h"

#include <map>
#include <optional>
#include <string>

namespace orvo::templates::platform {

/// Looks a property up, in order of precedence, on the command line, in the user's properties file, in the
/// system's properties file, in the environment, and takes its default otherwise. A value that does not
/// convert counts as not being there.
///
/// Each file is read once, when the first lookup reaches it, and never again by the same object.
/// Threads: one object may be shared.
class TweakProperties {
public:
    virtual ~TweakProperties() = default;

    /// The value of `key` (exact case) in `table`, which is the same for all lookups of one object. An empty
    /// path stands for no file; `argc` 0 or `argv` null for no command line. Made for T = int: a decimal
    /// number with optional sign after optional white space; what follows the number is ignored. Errors:
    /// std::runtime_error when the key is not in the table, or no source has a valid value.
    template <class T>
    T property(const TweakPropertyEntry* table, const std::string& userFile, const std::string& systemFile,
               const std::string& key, int argc, char** argv);

    /// The same, given the strings of the table's row.
    template <class T>
    T internalProperty(const std::string& userFile, const std::string& systemFile, const std::string& key,
                       const std::string& environmentVariable, const std::string& commandLineOption,
                       const std::string& defaultValue, int argc, char** argv);

private:
    /// One properties file, loaded by the first lookup that comes to it.
    class LazyFile {
    public:
        const std::string& property(const std::string& fileName, const std::string& key);

    private:
        bool loaded_ = false;
        PropertiesFile file_{true, false};
        RecursiveMutex guard_;
    };

    const TweakPropertyEntry& row(const TweakPropertyEntry* table, const std::string& key);

    LazyFile userFile_;
    LazyFile systemFile_;
    bool indexed_ = false;
    std::map<std::string, const TweakPropertyEntry*> index_;
    RecursiveMutex indexGuard_;
};

} // namespace orvo::templates::platform
