// SPDX-License-Identifier: MIT
// Finds a tuning value in the places where it can be set.
#pragma once

#include "config/PropertiesFile.h"
#include "config/TweakPropertyTable.h"
#include "platform/RecursiveMutex.h"

#include <map>
#include <string>

namespace orvo::templates::platform {

/// Looks a property up on the command line, in the user's properties file, in the system's properties file
/// and in the environment, in this order, and otherwise takes its default. A value that does not convert
/// counts as missing.
///
/// Each file is read once per object, when the first lookup reaches it. Threads: several may share an object.
class TweakProperties {
public:
    virtual ~TweakProperties() = default;

    /// The value of `key` (exact case) in `table`; use the same table for all lookups of one object. An empty
    /// path means no file; `argc` 0 or `argv` null means no command line. T is int: a decimal number with
    /// optional sign after optional white space; characters after the number are ignored.
    /// Errors: std::runtime_error when the key is not in the table, or no source has a valid value.
    template <class T>
    T property(const TweakPropertyEntry* table, const std::string& userFile, const std::string& systemFile,
               const std::string& key, int argc, char** argv);

    /// The same, given the strings of the table's row.
    template <class T>
    T internalProperty(const std::string& userFile, const std::string& systemFile, const std::string& key,
                       const std::string& environmentVariable, const std::string& commandLineOption,
                       const std::string& defaultValue, int argc, char** argv);

private:
    /// One properties file, loaded by the first lookup that reaches it.
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
