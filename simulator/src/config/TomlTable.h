// SPDX-License-Identifier: MIT
// Typed access to a table of a TOML file, with errors that name the file and the line.
#pragma once

#include "config/Configuration.h"

#include <toml++/toml.h>

#include <functional>
#include <set>

namespace orvo::sim {

/// The content of a regular file. Throws ConfigurationError.
std::string readTextFile(const std::filesystem::path& path);

/// The tables of a file's text. Throws ConfigurationError.
toml::table parseToml(std::string_view text, const std::filesystem::path& file);

/// One table while it is read. Every getter remembers its key, so that unknown keys can be refused. All of
/// them throw ConfigurationError.
class TomlTable {
public:
    /// `name` stands for the table in messages.
    TomlTable(const toml::table& table, std::string name, const std::filesystem::path& file);

    /// The value of the key, or `fallback` where the table lacks it.
    std::uint64_t integer(const char* key, std::uint64_t least, std::uint64_t most, std::uint64_t fallback);
    std::int64_t signedInteger(const char* key, std::int64_t least, std::int64_t most, std::int64_t fallback);
    double number(const char* key, double least, double most, double fallback);
    bool boolean(const char* key, bool fallback);
    std::string text(const char* key, std::string fallback);

    /// Calls `visit` for each entry of an array of tables, an array of texts, or a table of texts, with the
    /// entry's line; never where the table lacks the key.
    void forEachTable(const char* key, const std::function<void(const toml::table&)>& visit);
    void forEachText(const char* key, const std::function<void(const std::string&, unsigned line)>& visit);
    void forEachKey(const char* key,
                    const std::function<void(std::string_view, const std::string&, unsigned line)>& visit);

    bool has(const char* key) const { return table_.contains(key); }
    /// The line of the key, or of the table where it lacks the key.
    unsigned lineOf(const char* key) const;
    void refuseOtherKeys() const;
    [[noreturn]] void refuse(unsigned line, const std::string& reason) const;

private:
    const toml::node* find(const char* key);
    /// The node of the key, null where the table lacks it; refuses one of another type.
    template <class Type> auto typed(const char* key, const char* wanted);
    [[noreturn]] void refuseType(const toml::node& node, const std::string& key, const char* wanted) const;

    const toml::table& table_;
    const std::string name_;
    const std::filesystem::path& file_;
    std::set<std::string, std::less<>> known_;
};

} // namespace orvo::sim
