// SPDX-License-Identifier: MIT
// The diagnosis for people, made from the document and nothing else.
#include "app/Output.h"
#include "diagnosis/Diagnosis.h"

#include <fmt/format.h>

namespace orvo::host {
namespace {

using Json = nlohmann::ordered_json;

std::string text(const Json& node) {
    return node.is_string() ? node.get<std::string>() : node.dump();
}

std::string joined(const Json& list) {
    std::string all;
    for (const auto& each : list) all += (all.empty() ? "" : ", ") + text(each);
    return all.empty() ? "nothing" : all;
}

std::string line(const std::string& name, const std::string& value) {
    return fmt::format("  {:<18}{}\n", name, value);
}

std::string findingsText(const Json& diagnosis) {
    std::string all;
    if (diagnosis["healthy"].get<bool>()) all += "healthy: no fault found\n";
    for (const auto& finding : diagnosis["findings"])
        all += fmt::format("{}: {}\n  evidence: {}\n  next:     {}\n", text(finding["severity"]),
                           text(finding["finding"]), text(finding["evidence"]), text(finding["advice"]));
    return all;
}

std::string linkText(const Json& link) {
    std::string all = "\nlink\n";
    if (!link["answers"].get<bool>()) return all + line("PHY", "does not answer");
    const bool up = link["up"].get<bool>();
    all += line("state", up ? "up" : "down");
    if (up)
        all += line("speed", text(link["mbitPerSecond"]) + " Mbit/s, " + text(link["duplex"]) + " duplex");
    all += line("auto-negotiation", text(link["autoNegotiation"]));
    if (text(link["role"]) != "none") all += line("role", text(link["role"]));
    all += line("this port offers", joined(link["offers"]));
    all += line("partner offers", joined(link["partner"]));
    all += line("idle errors", text(link["idleErrors"]));
    if (link.contains("receiveErrors")) all += line("receive errors", text(link["receiveErrors"]));
    return all;
}

std::string countersText(const Json& diagnosis) {
    std::vector<std::vector<std::string>> rows = {{"  COUNTER", "TOTAL", "PER SECOND", "REGISTER"}};
    for (const auto& counter : diagnosis["counters"])
        rows.push_back({"  " + text(counter["name"]), grouped(counter["total"].get<std::uint64_t>()),
                        grouped(counter["perSecond"].get<std::uint64_t>()), text(counter["register"])});
    for (const auto& flag : diagnosis["flags"])
        rows.push_back({"  " + text(flag["name"]), text(flag["value"]), "", text(flag["register"])});
    return "\nfirmware\n" + table(rows);
}

std::string boardText(const Json& diagnosis) {
    const auto& board = diagnosis["board"];
    auto all = "\nboard\n" + line("index", text(board["index"])) + line("serial", text(board["serial"])) +
               line("type", text(board["type"])) + line("name", text(board["name"])) +
               line("devices", text(diagnosis["deviceCount"]) + " counted");
    for (const auto& device : diagnosis["devices"])
        all += line("", "index " + text(device["index"]) + ", serial " + text(device["serial"]));
    return all;
}

std::string phyText(const Json& registers) {
    std::string all = "\nPHY registers\n";
    for (const auto& each : registers) {
        all +=
            fmt::format("  {:>2}  {}  {}\n", text(each["register"]), text(each["value"]), text(each["name"]));
        for (const auto& field : each["fields"])
            all += fmt::format("      {:>5}  {} = {}{}\n", text(field["bits"]), text(field["name"]),
                               text(field["value"]),
                               text(field["meaning"]).empty() ? "" : " (" + text(field["meaning"]) + ")");
    }
    return all;
}

} // namespace

std::string textOfDiagnosis(const Json& diagnosis) {
    return "port " + text(diagnosis["port"]) + "\n" + findingsText(diagnosis) + linkText(diagnosis["link"]) +
           countersText(diagnosis) + boardText(diagnosis) + phyText(diagnosis["phy"]);
}

} // namespace orvo::host
