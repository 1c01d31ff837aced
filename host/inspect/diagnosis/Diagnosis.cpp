// SPDX-License-Identifier: MIT
#include "inspect/diagnosis/Diagnosis.h"

#include "base/Failure.h"
#include "inspect/diagnosis/LinkState.h"
#include "inspect/diagnosis/PhyFields.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <map>

namespace orvo::host {
namespace {

using Json = nlohmann::ordered_json;

constexpr const char* documentKind = "orvo-gige diagnosis";
constexpr int documentVersion = 1;

std::string hex(std::uint64_t value, int digits = 1) {
    return fmt::format("0x{:0{}x}", value, digits);
}

Json devicesJson(const DumpReport& report) {
    Json devices = Json::array();
    for (const auto& device : report.devices)
        devices.push_back({{"index", device.index}, {"serial", hex(device.serial)}});
    return devices;
}

Json countersJson(const DumpReport& report) {
    Json counters = Json::array();
    for (const auto& [counter, total] : report.second) {
        const auto& row = rowOf(counter);
        if (!row.isCount()) continue;
        const auto before = report.first.find(counter);
        const bool hasGrown = before != report.first.end() && before->second < total; // or was cleared
        counters.push_back({{"name", row.name},
                            {"register", row.place},
                            {"total", total},
                            {"perSecond", hasGrown ? total - before->second : 0}});
    }
    return counters;
}

Json flagsJson(const DumpReport& report) {
    Json flags = Json::array();
    for (const auto& [counter, value] : report.second)
        if (const auto& row = rowOf(counter); !row.isCount())
            flags.push_back(
                {{"name", row.name}, {"register", row.place}, {"value", hex(value)}, {"set", value != 0}});
    return flags;
}

Json namesOf(const std::vector<Ability>& abilities) {
    Json names = Json::array();
    for (const auto& ability : abilities) names.push_back(ability.name());
    return names;
}

Json linkJson(const LinkState& link, const DumpReport& report) {
    const bool speedKnown = link.up && link.mbitPerSecond != 0;
    const bool isGigabit = speedKnown && link.mbitPerSecond == 1000;
    Json document = {{"answers", link.answers},
                     {"up", link.up},
                     {"mbitPerSecond", speedKnown ? link.mbitPerSecond : 0},
                     {"duplex", !speedKnown       ? "none"
                                : link.fullDuplex ? "full"
                                                  : "half"},
                     {"autoNegotiation", !link.negotiates  ? "off"
                                         : link.negotiated ? "complete"
                                                           : "not complete"},
                     {"role", !isGigabit      ? "none"
                              : link.isMaster ? "master"
                                              : "slave"},
                     {"offers", namesOf(link.offers)},
                     {"partner", namesOf(link.partner)},
                     {"idleErrors", link.idleErrors}};
    const auto errors = report.second.find(Counter::ReceiveErrors);
    if (errors != report.second.end()) document["receiveErrors"] = errors->second;
    return document;
}

/// Where the PHY does not answer, its registers have no fields to decode.
Json phyJson(const DumpReport& report, bool answers) {
    Json registers = Json::array();
    for (unsigned number = 0; number < dumpedPhyRegisters; ++number) {
        const auto content = report.phy[number];
        Json fields = Json::array();
        for (const auto& field : phyFields())
            if (answers && field.phyRegister == number)
                fields.push_back({{"bits", field.bits()},
                                  {"name", field.name},
                                  {"value", field.of(content)},
                                  {"meaning", field.meaningOf(content)}});
        registers.push_back({{"register", number},
                             {"name", phyRegisterName(number)},
                             {"value", hex(content, 4)},
                             {"fields", std::move(fields)}});
    }
    return registers;
}

Json findingsJson(const std::vector<Finding>& findings) {
    Json list = Json::array();
    for (const auto& finding : findings)
        list.push_back({{"severity", severityText(finding.severity)},
                        {"finding", finding.text},
                        {"evidence", finding.evidence},
                        {"advice", finding.advice}});
    return list;
}

/// Every leaf of a document by its path. Members of lists are named by their name, register or index, which
/// stays the same when others come and go.
void flatten(const Json& node, const std::string& path, std::map<std::string, std::string>& leaves) {
    if (!node.is_structured()) {
        leaves[path] = node.is_string() ? node.get<std::string>() : node.dump();
        return;
    }
    for (const auto& [key, child] : node.items()) {
        std::string step = key;
        if (node.is_array()) {
            for (const char* name : {"finding", "name", "index"})
                if (child.is_object() && child.contains(name))
                    step = child[name].is_string() ? child[name].get<std::string>() : child[name].dump();
            if (child.is_object() && child.contains("register") && child["register"].is_number())
                step = "register " + child["register"].dump();
        }
        flatten(child, path.empty() ? step : path + "." + step, leaves);
    }
}

/// Null where the text is not JSON, or is nested more deeply than a diagnosis: functions that walk the
/// document recurse.
Json parseBounded(std::istream& text) {
    constexpr int deepest = 16;
    bool tooDeep = false;
    const auto watch = [&tooDeep](int depth, Json::parse_event_t, Json&) {
        tooDeep = tooDeep || depth > deepest;
        return !tooDeep;
    };
    auto document = Json::parse(text, watch, false);
    return tooDeep ? Json() : document;
}

bool isDiagnosis(const Json& document) {
    if (!document.is_object() || document.value("document", Json()) != documentKind ||
        document.value("version", Json()) != documentVersion)
        return false;
    const char* const sections[] = {"findings", "link", "counters", "flags", "board", "devices", "phy"};
    return std::all_of(std::begin(sections), std::end(sections), [&](const char* section) {
        return document.contains(section) && document[section].is_structured();
    });
}

} // namespace

Json diagnosisOf(const DumpReport& report, const std::string& port, bool wasDown,
                 std::vector<Finding> others) {
    const auto link = LinkState::from(report.phy);
    const auto findings = findingsOf(report, link, wasDown, std::move(others));
    const bool healthy = std::all_of(findings.begin(), findings.end(), [](const Finding& finding) {
        return finding.severity == Severity::Note;
    });
    return {{"document", documentKind},
            {"version", documentVersion},
            {"port", port},
            {"healthy", healthy},
            {"findings", findingsJson(findings)},
            {"link", linkJson(link, report)},
            {"counters", countersJson(report)},
            {"flags", flagsJson(report)},
            {"board",
             {{"index", report.boardIndex},
              {"serial", hex(report.serial)},
              {"type", hex(report.type)},
              {"name", report.name}}},
            {"deviceCount", report.deviceCount},
            {"devices", devicesJson(report)},
            {"phy", phyJson(report, link.answers)}};
}

Json readDiagnosis(const std::string& path) {
    const char* const advice = "; make one with 'orvo-gige diagnose --json'";
    std::error_code reason;
    if (const auto kind = std::filesystem::status(path, reason).type();
        kind != std::filesystem::file_type::regular)
        throw Failure("cannot read " + quoted(path) + ": " +
                      (reason ? reason.message() : "it is not a regular file") + advice);
    std::ifstream file(path);
    if (!file) throw Failure("cannot read " + quoted(path) + ": " + systemError(errno) + advice);
    const auto document = parseBounded(file);
    if (!isDiagnosis(document)) throw Failure(quoted(path) + " is not a diagnosis" + advice);
    return document;
}

std::vector<DiagnosisChange> changesBetween(const Json& before, const Json& after) {
    std::map<std::string, std::string> old, now;
    flatten(before, "", old);
    flatten(after, "", now);
    std::map<std::string, DiagnosisChange> all;
    for (const auto& [path, value] : old) all[path] = {path, value, ""};
    for (const auto& [path, value] : now) all[path] = {path, all[path].before, value};
    std::vector<DiagnosisChange> changes;
    for (auto& [path, change] : all)
        if (change.before != change.after) changes.push_back(std::move(change));
    return changes;
}

} // namespace orvo::host
