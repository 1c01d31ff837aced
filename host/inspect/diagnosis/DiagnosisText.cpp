// SPDX-License-Identifier: MIT
// The diagnosis for people, made from the document and nothing else.
#include "base/Failure.h"
#include "base/Output.h"
#include "inspect/diagnosis/Diagnosis.h"

#include <fmt/format.h>

namespace orvo::host {
namespace {

using Json = nlohmann::ordered_json;

std::string line(const std::string& name, const std::string& value) {
    return fmt::format("  {:<18}{}\n", name, value);
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

std::string linkText(const Json& link) {
    std::string all = "\nlink\n";
    if (!link["answers"].get<bool>()) return all + line("PHY", "does not answer");
    const bool up = link["up"].get<bool>();
    all += line("state", up ? "up" : "down");
    if (up)
        all += line("speed",
                    valueText(link["mbitPerSecond"]) + " Mbit/s, " + valueText(link["duplex"]) + " duplex");
    all += line("auto-negotiation", valueText(link["autoNegotiation"]));
    if (valueText(link["role"]) != "none") all += line("role", valueText(link["role"]));
    all += line("this port offers", listText(link["offers"]));
    all += line("partner offers", listText(link["partner"]));
    all += line("idle errors", valueText(link["idleErrors"]));
    if (link.contains("receiveErrors")) all += line("receive errors", valueText(link["receiveErrors"]));
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

std::string boardText(const Json& diagnosis) {
    const auto& board = diagnosis["board"];
    auto all = "\nboard\n" + line("index", valueText(board["index"])) +
               line("serial", valueText(board["serial"])) + line("type", valueText(board["type"])) +
               line("name", valueText(board["name"])) +
               line("devices", valueText(diagnosis["deviceCount"]) + " counted");
    for (const auto& device : diagnosis["devices"])
        all += line("", "index " + valueText(device["index"]) + ", serial " + valueText(device["serial"]));
    return all;
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

std::string listText(const Json& list) {
    std::string all;
    for (const auto& each : list) all += (all.empty() ? "" : ", ") + valueText(each);
    return all.empty() ? "nothing" : all;
}

std::string textOfDiagnosis(const Json& diagnosis) {
    return "port " + valueText(diagnosis["port"]) + "\n" + findingsText(diagnosis) +
           linkText(diagnosis["link"]) + countersText(diagnosis) + boardText(diagnosis) +
           phyText(diagnosis["phy"]);
}

} // namespace orvo::host
