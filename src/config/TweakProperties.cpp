// SPDX-License-Identifier: MIT
#include "config/TweakProperties.h"

#include "config/TweakText.h"

#include <cstdlib>
#include <stdexcept>

namespace orvo::templates::platform {
namespace {

template <class T> std::optional<T> fromCommandLine(const std::string& option, int argc, char** argv) {
    if (option.empty() || !argv) return std::nullopt;
    for (int i = argc - 1; i >= 0; --i) // the last argument wins
        if (const auto text = optionValue(argv[i], option))
            if (const auto value = converted<T>(*text)) return value;
    return std::nullopt;
}

template <class T> std::optional<T> fromEnvironment(const std::string& variable) {
    if (variable.empty()) return std::nullopt;
    const char* text = std::getenv(variable.c_str());
    return text ? converted<T>(text) : std::nullopt;
}

} // namespace

const std::string& TweakProperties::LazyFile::property(const std::string& fileName, const std::string& key) {
    const RecursiveMutexGuard guard(&guard_);
    if (!loaded_) file_.load(fileName, true, true); // a file that cannot be read is one without values
    loaded_ = true;
    return file_.property(key, nullptr);
}

const TweakPropertyEntry& TweakProperties::row(const TweakPropertyEntry* table, const std::string& key) {
    {
        const RecursiveMutexGuard guard(&indexGuard_);
        if (!indexed_)
            for (const auto* entry = table; entry->key; ++entry) index_[entry->key] = entry;
        indexed_ = true;
    }
    const auto found = index_.find(key); // the index does not change any more
    if (found == index_.end())
        throw std::runtime_error("TweakProperties: Unknown property requested: '" + key + "'");
    return *found->second;
}

template <class T>
T TweakProperties::property(const TweakPropertyEntry* table, const std::string& userFile,
                            const std::string& systemFile, const std::string& key, int argc, char** argv) {
    const auto& entry = row(table, key);
    return internalProperty<T>(userFile, systemFile, key, entry.environmentVariable, entry.commandLineOption,
                               entry.defaultValue, argc, argv);
}

template <class T>
T TweakProperties::internalProperty(const std::string& userFile, const std::string& systemFile,
                                    const std::string& key, const std::string& environmentVariable,
                                    const std::string& commandLineOption, const std::string& defaultValue,
                                    int argc, char** argv) {
    const auto fromFile = [&key](LazyFile& file, const std::string& fileName) -> std::optional<T> {
        if (fileName.empty() || key.empty()) return std::nullopt;
        return converted<T>(file.property(fileName, key));
    };
    if (const auto value = fromCommandLine<T>(commandLineOption, argc, argv)) return *value;
    if (const auto value = fromFile(userFile_, userFile)) return *value;
    if (const auto value = fromFile(systemFile_, systemFile)) return *value;
    if (const auto value = fromEnvironment<T>(environmentVariable)) return *value;
    if (const auto value = converted<T>(defaultValue)) return *value;
    throw std::runtime_error("TweakProperties: No valid value found for property '" + key + "'");
}

template int TweakProperties::property<int>(const TweakPropertyEntry*, const std::string&, const std::string&,
                                            const std::string&, int, char**);
template int TweakProperties::internalProperty<int>(const std::string&, const std::string&,
                                                    const std::string&, const std::string&,
                                                    const std::string&, const std::string&, int, char**);

} // namespace orvo::templates::platform
