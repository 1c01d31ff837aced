// SPDX-License-Identifier: MIT
#include "base/Failure.h"
#include "base/Output.h"
#include "inspect/diagnosis/Diagnosis.h"

#include <fmt/format.h>

namespace orvo::host {
namespace {

using Json = nlohmann::ordered_json;

std::string listText(const Json& list) {
    std::string all;
    for (const auto& each : list) all += (all.empty() ? "" : ", ") + valueText(each);
    return all.empty() ? "nothing" : all;
}

std::string section(const char* name, const Facts& facts) {
    auto all = fmt::format("\n{}\n", name);
    for (const auto& [fact, value] : facts) all += fmt::format("  {:<18}{}\n", fact, value);
    return all;
}

std::string findingsText(const Json& diagnosis) {
    std::string all;
    if (diagnosis["healthy"].get<bool>()) all += "healthy: no fault found\n";
    for (const auto& finding : diagnosis["findings"])
        all += fmt::format("{}: {}\n  evidence: {}\n  next:     {}\n", valueText(finding["severity"]),
                           valueText(finding["finding"]), valueText(finding["evidence"]),
                           valueText(finding["advice"]));
    return all;
}

std::string countersText(const Json& diagnosis) {
    std::vector<std::vector<std::string>> rows = {{"  COUNTER", "TOTAL", "PER SECOND", "REGISTER"}};
    for (const auto& counter : diagnosis["counters"])
        rows.push_back({"  " + valueText(counter["name"]), grouped(counter["total"].get<std::uint64_t>()),
                        grouped(counter["perSecond"].get<std::uint64_t>()), valueText(counter["register"])});
    for (const auto& flag : diagnosis["flags"])
        rows.push_back(
            {"  " + valueText(flag["name"]), valueText(flag["value"]), "", valueText(flag["register"])});
    return "\nfirmware\n" + table(rows);
}

std::string phyText(const Json& registers) {
    std::string all = "\nPHY registers\n";
    for (const auto& each : registers) {
        all += fmt::format("  {:>2}  {}  {}\n", valueText(each["register"]), valueText(each["value"]),
                           valueText(each["name"]));
        for (const auto& field : each["fields"])
            all += fmt::format(
                "      {:>5}  {} = {}{}\n", valueText(field["bits"]), valueText(field["name"]),
                valueText(field["value"]),
                valueText(field["meaning"]).empty() ? "" : " (" + valueText(field["meaning"]) + ")");
    }
    return all;
}

} // namespace

std::string valueText(const Json& value) {
    return value.is_string() ? oneLine(value.get<std::string>()) : value.dump();
}

Facts linkFacts(const Json& diagnosis) {
    const auto& link = diagnosis["link"];
    if (!link["answers"].get<bool>()) return {{"PHY", "does not answer"}};
    const bool isUp = link["up"].get<bool>();
    Facts facts = {{"state", isUp ? "up" : "down"}};
    if (isUp)
        facts.emplace_back("speed", valueText(link["mbitPerSecond"]) + " Mbit/s, " +
                                        valueText(link["duplex"]) + " duplex");
    facts.emplace_back("auto-negotiation", valueText(link["autoNegotiation"]));
    if (link["role"] != "none") facts.emplace_back("role", valueText(link["role"]));
    facts.emplace_back("this port offers", listText(link["offers"]));
    facts.emplace_back("partner offers", listText(link["partner"]));
    facts.emplace_back("idle errors", valueText(link["idleErrors"]));
    if (link.contains("receiveErrors"))
        facts.emplace_back("receive errors", valueText(link["receiveErrors"]));
    return facts;
}

Facts boardFacts(const Json& diagnosis) {
    Facts facts;
    for (const char* name : {"index", "serial", "type", "name"})
        facts.emplace_back(name, valueText(diagnosis["board"][name]));
    auto devices = valueText(diagnosis["deviceCount"]) + " counted";
    for (const auto& device : diagnosis["devices"])
        devices += "; index " + valueText(device["index"]) + ", serial " + valueText(device["serial"]);
    facts.emplace_back("devices", devices);
    return facts;
}

std::string diagnosisText(const Json& diagnosis) {
    return "port " + valueText(diagnosis["port"]) + "\n" + findingsText(diagnosis) +
           section("link", linkFacts(diagnosis)) + countersText(diagnosis) +
           section("board", boardFacts(diagnosis)) + phyText(diagnosis["phy"]);
}

} // namespace orvo::host
