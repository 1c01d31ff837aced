// SPDX-License-Identifier: MIT
// A properties file with its line numbers.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace orvo::host {

struct PropertiesText {
    struct Entry {
        std::string key, value;
        unsigned line;
    };
    struct Remark {
        unsigned line;
        std::string text; ///< what the line is, and why nobody reads it
    };

    std::filesystem::path path;
    bool isThere = false;
    std::string error = {};           ///< why a file that is there cannot be read; empty: it can
    std::vector<Entry> entries = {};  ///< in their order, keys normalised
    std::vector<Remark> useless = {}; ///< lines that have no effect

    /// Null when the file has no such key; of several, the last counts.
    const Entry* find(const std::string& key) const;
};

PropertiesText readPropertiesText(const std::filesystem::path& path);

} // namespace orvo::host
