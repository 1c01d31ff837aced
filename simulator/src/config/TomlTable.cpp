// SPDX-License-Identifier: MIT
// Reading of TOML tables.
#include "config/TomlTable.h"

#include <algorithm>
#include <limits>
#include <sstream>

namespace orvo::sim {

namespace {

unsigned lineOf(const toml::source_region& source) {
    return source.begin.line != 0 ? source.begin.line : 1;
}

} // namespace

TomlTable::TomlTable(const toml::table& table, std::string name, const std::filesystem::path& file)
    : table_(table), name_(std::move(name)), file_(file) {}

void TomlTable::refuse(unsigned line, const std::string& reason) const {
    throw ConfigurationError(file_, line, reason);
}

void TomlTable::refuseType(const toml::node& node, const std::string& key, const char* wanted) const {
    refuse(sim::lineOf(node.source()), "'" + key + "' in " + name_ + " must be " + wanted);
}

const toml::node* TomlTable::find(const char* key) {
    known_.insert(key);
    return table_.get(key);
}

template <class Type> auto TomlTable::typed(const char* key, const char* wanted) {
    const toml::node* const node = find(key);
    const auto* const value = node ? node->as<Type>() : nullptr;
    if (node && !value) refuseType(*node, key, wanted);
    return value;
}

unsigned TomlTable::lineOf(const char* key) const {
    const toml::node* node = table_.get(key);
    return sim::lineOf(node ? node->source() : table_.source());
}

std::uint64_t TomlTable::integer(const char* key, std::uint64_t least, std::uint64_t most,
                                 std::uint64_t fallback) {
    constexpr std::uint64_t largest = std::numeric_limits<std::int64_t>::max(); // number in TOML
    if (!table_.contains(key)) return find(key), fallback;
    return static_cast<std::uint64_t>(signedInteger(key, static_cast<std::int64_t>(std::min(least, largest)),
                                                    static_cast<std::int64_t>(std::min(most, largest)), 0));
}

std::int64_t TomlTable::signedInteger(const char* key, std::int64_t least, std::int64_t most,
                                      std::int64_t fallback) {
    const toml::node* node = find(key);
    if (!node) return fallback;
    const auto wanted = most == std::numeric_limits<std::int64_t>::max()
                            ? "a whole number of " + std::to_string(least) + " or more"
                            : "a whole number from " + std::to_string(least) + " to " + std::to_string(most);
    const auto* value = node->as_integer();
    if (!value || value->get() < least || value->get() > most) refuseType(*node, key, wanted.c_str());
    return value->get();
}

double TomlTable::number(const char* key, double least, double most, double fallback) {
    const toml::node* node = find(key);
    if (!node) return fallback;
    const auto value = node->value<double>(); // takes whole numbers too
    if (!node->is_number() || !value || !(*value >= least && *value <= most)) {
        std::ostringstream wanted;
        wanted << "a number from " << least << " to " << most;
        refuseType(*node, key, wanted.str().c_str());
    }
    return *value;
}

bool TomlTable::boolean(const char* key, bool fallback) {
    const auto* value = typed<bool>(key, "true or false");
    return value ? value->get() : fallback;
}

std::string TomlTable::text(const char* key, std::string fallback) {
    const auto* value = typed<std::string>(key, "a text in quotes");
    return value ? value->get() : fallback;
}

void TomlTable::forEachTable(const char* key, const std::function<void(const toml::table&)>& visit) {
    const auto wanted = "a list of tables, each begun with [[" + std::string(key) + "]]";
    const auto* array = typed<toml::array>(key, wanted.c_str());
    if (!array) return;
    for (const toml::node& entry : *array) {
        if (!entry.is_table()) refuseType(entry, key, wanted.c_str());
        visit(*entry.as_table());
    }
}

void TomlTable::forEachText(const char* key, const std::function<void(const std::string&, unsigned)>& visit) {
    const auto* array = typed<toml::array>(key, "a list of texts");
    if (!array) return;
    for (const toml::node& entry : *array) {
        if (!entry.is_string()) refuseType(entry, key, "a list of texts");
        visit(entry.as_string()->get(), sim::lineOf(entry.source()));
    }
}

void TomlTable::forEachKey(const char* key,
                           const std::function<void(std::string_view, const std::string&, unsigned)>& visit) {
    const auto* table = typed<toml::table>(key, "a table");
    if (!table) return;
    for (const auto& [entryKey, entry] : *table) {
        if (!entry.is_string())
            refuseType(entry, std::string(key).append(".").append(entryKey), "a text in quotes");
        visit(entryKey, entry.as_string()->get(), sim::lineOf(entry.source()));
    }
}

void TomlTable::refuseOtherKeys() const {
    std::string known;
    for (const auto& key : known_) known += (known.empty() ? "" : ", ") + key;
    for (const auto& [key, node] : table_)
        if (known_.find(key.str()) == known_.end())
            refuse(sim::lineOf(key.source()),
                   "unknown key '" + std::string(key.str()) + "' in " + name_ + "; it may have " + known);
}

} // namespace orvo::sim
