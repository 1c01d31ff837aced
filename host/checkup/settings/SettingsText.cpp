// SPDX-License-Identifier: MIT
#include "base/Failure.h"
#include "base/Output.h"
#include "checkup/settings/Settings.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

namespace orvo::host {
namespace {

using nlohmann::ordered_json;

struct KindRow {
    const char* name;   ///< in JSON
    const char* before; ///< in text, before the place
};

const KindRow& rowOf(Origin::Kind kind) {
    static constexpr KindRow rows[] = {{"argument", "argument "},
                                       {"file", ""},
                                       {"environment", "environment variable "},
                                       {"default", "default"}};
    return rows[static_cast<std::size_t>(kind)]; // in the order of the kinds
}

void addRemarks(std::vector<Remark>& remarks, const Setting& setting) {
    for (const auto& [text, origin, expected] : setting.unreadable)
        remarks.push_back(
            {origin,
             fmt::format("{} of {} is not {}; {} ({}) is used instead", quoted(text), setting.name, expected,
                         quoted(setting.value), originText(setting.origin)),
             setting.isRead});
    if (!setting.note.empty())
        remarks.push_back(
            {setting.origin, fmt::format("{} is {}: {}", setting.name, setting.value, setting.note), false});
}

void addRemarks(std::vector<Remark>& remarks, const PropertiesText& file) {
    Origin where{Origin::Kind::File, file.path.string()};
    if (!file.error.empty())
        remarks.push_back({where, "cannot be read, and is ignored: " + file.error, true});
    for (const auto& useless : file.useless) {
        where.line = useless.line;
        remarks.push_back({where, useless.text + "; the line has no effect", false});
    }
}

std::string tableOf(const char* heading, const std::vector<Setting>& settings) {
    std::vector<std::vector<std::string>> rows = {{heading, "VALUE", "ORIGIN", "MEANING"}};
    for (const auto& setting : settings)
        rows.push_back({setting.name, setting.value.empty() ? "-" : setting.value, originText(setting.origin),
                        setting.meaning});
    return table(rows);
}

ordered_json originJson(const Origin& origin) {
    ordered_json entry = {{"kind", rowOf(origin.kind).name}};
    if (!origin.place.empty()) entry["place"] = origin.place;
    if (origin.line != 0) entry["line"] = origin.line;
    return entry;
}

ordered_json listJson(const std::vector<Setting>& settings) {
    auto list = ordered_json::array();
    for (const auto& setting : settings) {
        ordered_json entry = {
            {"name", setting.name}, {"value", setting.value}, {"origin", originJson(setting.origin)}};
        if (!setting.meaning.empty()) entry["meaning"] = setting.meaning;
        for (const auto& [text, origin, expected] : setting.unreadable)
            entry["unreadable"].push_back(
                {{"value", text}, {"origin", originJson(origin)}, {"expected", expected}});
        if (!setting.note.empty()) entry["note"] = setting.note;
        list.push_back(std::move(entry));
    }
    return list;
}

} // namespace

std::string originText(const Origin& origin) {
    const auto text = rowOf(origin.kind).before + origin.place;
    return origin.line == 0 ? text : fmt::format("{}:{}", text, origin.line);
}

std::vector<Remark> remarksOn(const Settings& settings) {
    std::vector<Remark> remarks;
    for (const auto* list : {&settings.properties, &settings.others})
        for (const auto& setting : *list) addRemarks(remarks, setting);
    for (const auto& file : settings.files) addRemarks(remarks, file);
    return remarks;
}

std::string settingsText(const Settings& settings) {
    auto text = tableOf("PROPERTY", settings.properties) + "\n" + tableOf("OTHER", settings.others);
    const auto remarks = remarksOn(settings);
    if (!remarks.empty()) text += "\n";
    for (const auto& remark : remarks) text += originText(remark.where) + ": " + remark.text + "\n";
    return text;
}

ordered_json settingsJson(const Settings& settings) {
    auto remarks = ordered_json::array();
    for (const auto& remark : remarksOn(settings))
        remarks.push_back({{"where", originJson(remark.where)}, {"text", remark.text}});
    return {{"properties", listJson(settings.properties)},
            {"others", listJson(settings.others)},
            {"remarks", std::move(remarks)}};
}

} // namespace orvo::host
