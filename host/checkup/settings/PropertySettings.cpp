// SPDX-License-Identifier: MIT
// Tuning values by the plug-in's own table and rules: see TweakProperties for the order of precedence.
#include "checkup/settings/PropertySettings.h"

#include "base/Failure.h"

#include <config/TweakPropertyTable.h>
#include <config/TweakText.h>

#include <cstdlib>
#include <optional>
#include <string_view>

namespace orvo::host {
namespace {

namespace platform = templates::platform;

constexpr int maxMask = 15;

struct Candidate {
    std::string text;
    Origin origin;
};

/// The properties that the plug-in reads, all of them whole numbers; empty for the others, which the table
/// has for further software of the board.
std::string meaningFor(std::string_view key) {
    return key == "GIGE::DriverClassPortMask"
               ? "sum of 1, 2, 4, 8 for the GigE ports 0 to 3 whose PHY gets its driver class bit at a reset"
               : "";
}

std::vector<Candidate> candidatesFor(const platform::TweakPropertyEntry& row,
                                     const std::vector<PropertiesText>& files,
                                     const std::vector<std::string>& arguments) {
    std::vector<Candidate> found;
    for (const auto& argument : std::vector(arguments.rbegin(), arguments.rend())) // the last one wins
        if (const auto text = *row.commandLineOption ? platform::optionValue(argument, row.commandLineOption)
                                                     : std::nullopt)
            found.push_back({*text, {Origin::Kind::Argument, argument}});
    for (const auto& file : files)
        if (const auto* entry = file.find(row.key))
            found.push_back({entry->value, {Origin::Kind::File, file.path.string(), entry->line}});
    const char* const text = *row.environmentVariable ? std::getenv(row.environmentVariable) : nullptr;
    if (text) found.push_back({text, {Origin::Kind::Environment, row.environmentVariable}});
    found.push_back({row.defaultValue, {}});
    return found;
}

/// What the plug-in, or, of a property that it does not read, anybody makes of a text.
std::optional<std::string> valueOf(const std::string& text, bool isNumber) {
    if (!isNumber) return platform::converted<std::string>(text) ? std::optional(text) : std::nullopt;
    const auto number = platform::converted<int>(text);
    return number ? std::optional(std::to_string(*number)) : std::nullopt;
}

/// What is odd about a number that counts.
std::string noteOn(const std::string& text, const std::string& value) {
    std::string note;
    if (value != text && text.find_first_not_of("+-0123456789") != std::string::npos)
        note = "only the number at the front of " + quoted(text) + " is read";
    if (const auto mask = std::stoi(value); mask < 0 || mask > maxMask)
        note += (note.empty() ? "" : "; ") + std::string("only sums of 1, 2, 4, 8 mean ports, 15 at most");
    return note;
}

Setting settingOf(const platform::TweakPropertyEntry& row, const std::vector<Candidate>& candidates) {
    Setting setting{.name = row.key, .value = "", .origin = {}, .meaning = meaningFor(row.key)};
    setting.isRead = !setting.meaning.empty();
    const bool isNumber = setting.isRead;
    for (const auto& [text, origin] : candidates) {
        const auto value = valueOf(text, isNumber);
        if (value) {
            setting.value = *value;
            setting.origin = origin;
            if (isNumber) setting.note = noteOn(text, *value);
            return setting;
        }
        if (origin.kind != Origin::Kind::Default)
            setting.unreadable.push_back({text, origin, isNumber ? "a whole number from 0 to 15" : "a text"});
    }
    return setting; // a default without any text
}

} // namespace

std::vector<Setting> propertySettings(const std::vector<PropertiesText>& files,
                                      const std::vector<std::string>& arguments) {
    std::vector<Setting> settings;
    for (const auto* row = platform::tweakPropertyTable; row->key; ++row)
        settings.push_back(settingOf(*row, candidatesFor(*row, files, arguments)));
    return settings;
}

} // namespace orvo::host
