// SPDX-License-Identifier: MIT
// Settings as text and as JSON.
#include "base/Failure.h"
#include "base/Output.h"
#include "checkup/settings/Settings.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

namespace orvo::host {
namespace {

using nlohmann::ordered_json;

const char* nameOf(Origin::Kind kind) {
    switch (kind) {
    case Origin::Kind::Argument:
        return "argument";
    case Origin::Kind::File:
        return "file";
    case Origin::Kind::Environment:
        return "environment";
    case Origin::Kind::Default:
        break;
    }
    return "default";
}

void addRemarks(std::vector<Remark>& remarks, const Setting& setting) {
    for (const auto& [text, origin, reason] : setting.unreadable)
        remarks.push_back({origin,
                           fmt::format("{} of {} is not {}; {} ({}) is used instead", quoted(text),
                                       setting.name, reason, quoted(setting.value), textOf(setting.origin)),
                           setting.isRead});
    if (!setting.note.empty())
        remarks.push_back(
            {setting.origin, fmt::format("{} is {}: {}", setting.name, setting.value, setting.note), false});
}

void addRemarks(std::vector<Remark>& remarks, const PropertiesText& file) {
    Origin where{Origin::Kind::File, file.path.string()};
    if (!file.error.empty())
        remarks.push_back({where, "cannot be read, and does not count: " + file.error, true});
    for (const auto& useless : file.useless) {
        where.line = useless.line;
        remarks.push_back({where, useless.text + "; the line has no effect", false});
    }
}

std::string tableOf(const char* heading, const std::vector<Setting>& settings) {
    std::vector<std::vector<std::string>> rows = {{heading, "VALUE", "ORIGIN", "MEANING"}};
    for (const auto& setting : settings)
        rows.push_back({setting.name, setting.value.empty() ? "-" : setting.value, textOf(setting.origin),
                        setting.meaning});
    return table(rows);
}

ordered_json jsonOf(const Origin& origin) {
    ordered_json entry = {{"kind", nameOf(origin.kind)}};
    if (!origin.place.empty()) entry["place"] = origin.place;
    if (origin.line != 0) entry["line"] = origin.line;
    return entry;
}

ordered_json jsonOf(const std::vector<Setting>& settings) {
    auto list = ordered_json::array();
    for (const auto& setting : settings) {
        ordered_json entry = {
            {"name", setting.name}, {"value", setting.value}, {"origin", jsonOf(setting.origin)}};
        if (!setting.meaning.empty()) entry["meaning"] = setting.meaning;
        for (const auto& [text, origin, reason] : setting.unreadable)
            entry["unreadable"].push_back(
                {{"value", text}, {"origin", jsonOf(origin)}, {"expected", reason}});
        if (!setting.note.empty()) entry["note"] = setting.note;
        list.push_back(std::move(entry));
    }
    return list;
}

} // namespace

std::string textOf(const Origin& origin) {
    switch (origin.kind) {
    case Origin::Kind::Argument:
        return "argument " + origin.place;
    case Origin::Kind::File:
        return origin.line == 0 ? origin.place : fmt::format("{}:{}", origin.place, origin.line);
    case Origin::Kind::Environment:
        return "environment variable " + origin.place;
    case Origin::Kind::Default:
        break;
    }
    return "default";
}

std::vector<Remark> remarksOn(const Settings& settings) {
    std::vector<Remark> remarks;
    for (const auto* list : {&settings.properties, &settings.others})
        for (const auto& setting : *list) addRemarks(remarks, setting);
    for (const auto& file : settings.files) addRemarks(remarks, file);
    return remarks;
}

std::string textOf(const Settings& settings) {
    auto text = tableOf("PROPERTY", settings.properties) + "\n" + tableOf("OTHER", settings.others);
    const auto remarks = remarksOn(settings);
    if (!remarks.empty()) text += "\n";
    for (const auto& remark : remarks) text += textOf(remark.where) + ": " + remark.text + "\n";
    return text;
}

ordered_json jsonOf(const Settings& settings) {
    auto remarks = ordered_json::array();
    for (const auto& remark : remarksOn(settings))
        remarks.push_back({{"where", jsonOf(remark.where)}, {"text", remark.text}});
    return {{"properties", jsonOf(settings.properties)},
            {"others", jsonOf(settings.others)},
            {"remarks", std::move(remarks)}};
}

} // namespace orvo::host
