// SPDX-License-Identifier: MIT
// The document: made from the report, read from a file, compared.
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

/// A counter that was cleared between the two snapshots has not grown.
std::uint64_t growth(std::optional<std::uint64_t> before, std::uint64_t now) {
    return before && *before < now ? now - *before : 0;
}

Json countersJson(const DumpReport& report) {
    Json counters = Json::array();
    for (std::size_t i = 0; i < firmwareValueCount; ++i) {
        const auto& row = rowOf(firmwareValueRows[i].counter);
        if (!row.isCount() || !report.second[i]) continue;
        counters.push_back({{"name", row.name},
                            {"register", row.place},
                            {"total", *report.second[i]},
                            {"perSecond", growth(report.first[i], *report.second[i])}});
    }
    return counters;
}

Json flagsJson(const DumpReport& report) {
    Json flags = Json::array();
    for (std::size_t i = 0; i < firmwareValueCount; ++i) {
        const auto& row = rowOf(firmwareValueRows[i].counter);
        if (row.isCount() || !report.second[i]) continue;
        flags.push_back({{"name", row.name},
                         {"register", row.place},
                         {"value", hex(*report.second[i])},
                         {"set", *report.second[i] != 0}});
    }
    return flags;
}

Json namesOf(const std::vector<Ability>& abilities) {
    Json names = Json::array();
    for (const auto& ability : abilities) names.push_back(ability.name);
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
    const auto errors = report.second[static_cast<std::size_t>(FirmwareValue::ReceiveErrors)];
    if (errors) document["receiveErrors"] = *errors;
    return document;
}

/// Without an answer from the PHY the registers hold nothing that could be decoded.
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
        list.push_back({{"severity", textOf(finding.severity)},
                        {"finding", finding.text},
                        {"evidence", finding.evidence},
                        {"advice", finding.advice}});
    return list;
}

/// Every leaf of a document by its path; members of lists go by their name, register or index, which stays
/// the same when others come and go.
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

/// Nothing where the text is no JSON, or nested more deeply than any diagnosis: what looks into it recurses.
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
        throw UsageFailure("cannot read " + quoted(path) + ": " +
                           (reason ? reason.message() : "it is not a regular file") + advice);
    std::ifstream file(path);
    if (!file) throw UsageFailure("cannot read " + quoted(path) + ": " + systemError(errno) + advice);
    const auto document = parseBounded(file);
    if (!isDiagnosis(document)) throw UsageFailure(quoted(path) + " is no diagnosis" + advice);
    return document;
}

std::vector<DiagnosisChange> changesBetween(const Json& before, const Json& after) {
    std::map<std::string, std::string> old, now;
    flatten(before, "", old);
    flatten(after, "", now);
    std::map<std::string, DiagnosisChange> changes;
    for (const auto& [path, value] : old)
        if (const auto found = now.find(path); found == now.end() || found->second != value)
            changes[path] = {path, value, found == now.end() ? "" : found->second};
    for (const auto& [path, value] : now)
        if (!old.contains(path)) changes[path] = {path, "", value};
    std::vector<DiagnosisChange> list;
    for (auto& [path, change] : changes) list.push_back(std::move(change));
    return list;
}

} // namespace orvo::host
