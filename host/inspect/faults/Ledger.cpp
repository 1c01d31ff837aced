// SPDX-License-Identifier: MIT
#include "inspect/faults/Ledger.h"

#include "base/Output.h"
#include "frames/FrameReport.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <numeric>
#include <sstream>

namespace orvo::host {
namespace {

using Json = nlohmann::ordered_json;
using Parts = std::vector<Balance::Part>;

std::uint64_t sumOf(const Parts& parts) {
    return std::accumulate(parts.begin(), parts.end(), std::uint64_t{0},
                           [](std::uint64_t sum, const auto& part) { return sum + part.count; });
}

std::string lineOf(const Movement& movement) {
    return movement.what + " (" + movement.where.text() +
           "): " + (movement.moved ? grouped(*movement.moved) : "not seen here");
}

/// The first part, and those of the others that are not 0.
std::string partsText(const Parts& parts) {
    std::string text;
    for (const auto& part : parts)
        if (part.count != 0 || &part == &parts.front())
            text += (text.empty() ? "" : " + ") + grouped(part.count) + " " + part.name;
    return text;
}

std::string lineOf(const Balance& balance) {
    auto text = balance.what + ": " + partsText(balance.totals) + " = " + partsText(balance.parts);
    if (!balance.differs()) return text;
    if (!balance.missing.empty())
        return text + ", DIFFERENT: the plug-in did not report '" + balance.missing + "'";
    const auto difference = static_cast<std::int64_t>(sumOf(balance.parts) - sumOf(balance.totals));
    return text + ", DIFFERENT by " + std::to_string(difference);
}

/// "B/P", for faults of the wire with the direction.
std::string placeText(const OrvoSimFault& fault) {
    const char* const direction = !isOfWire(fault) ? "" : fault.received ? " received" : " sent";
    return PortAddress{fault.board, fault.port}.text() + direction;
}

template <class Entries> std::string blockText(const std::string& name, const Entries& entries) {
    std::string text;
    for (const auto& entry : entries) text += reportLine(text.empty() ? name : "", lineOf(entry));
    return text;
}

Json partsJson(const Parts& parts) {
    Json document = Json::object();
    for (const auto& part : parts) document[part.name] = part.count;
    return document;
}

} // namespace

bool isOfWire(const OrvoSimFault& fault) noexcept {
    return fault.evidence == OrvoSimReceiveErrors || fault.evidence == OrvoSimArrivals ||
           fault.evidence == OrvoSimLateFrames;
}

bool Balance::differs() const noexcept {
    return !missing.empty() || sumOf(totals) != sumOf(parts);
}

bool Ledger::passed() const noexcept {
    return std::ranges::none_of(balances, &Balance::differs);
}

std::string injectionsText(const Ledger& ledger) {
    auto text = reportLine("faults", ledger.script + ", seed " + std::to_string(ledger.seed));
    if (ledger.faults.empty()) return text;
    std::vector<std::vector<std::string>> rows{{"LINE", "FAULT", "WHERE", "INJECTED"}};
    for (const auto& fault : ledger.faults)
        rows.push_back({std::to_string(fault.line), fault.kind, placeText(fault),
                        fault.injected != 0 ? grouped(fault.injected) : "never happened"});
    std::istringstream lines(table(rows));
    for (std::string line; std::getline(lines, line);) text += reportLine("", line);
    return text;
}

std::string ledgerText(const Ledger& ledger) {
    return injectionsText(ledger) + blockText("moved", ledger.movements) +
           blockText("conserved", ledger.balances);
}

Json ledgerJson(const Ledger& ledger) {
    Json faults = Json::array(), movements = Json::array(), balances = Json::array();
    for (const auto& fault : ledger.faults)
        faults.push_back({{"line", fault.line},
                          {"kind", fault.kind},
                          {"where", placeText(fault)},
                          {"times", fault.injected},
                          {"mustMove", fault.mustMove}});
    for (const auto& movement : ledger.movements)
        movements.push_back({{"what", movement.what},
                             {"port", movement.where.text()},
                             {"moved", movement.moved ? Json(*movement.moved) : Json()}});
    for (const auto& balance : ledger.balances)
        balances.push_back({{"what", balance.what},
                            {"frames", partsJson(balance.totals)},
                            {"are", partsJson(balance.parts)},
                            {"holds", !balance.differs()}});
    return {{"script", ledger.script},       {"seed", ledger.seed},
            {"passed", ledger.passed()},     {"injected", std::move(faults)},
            {"moved", std::move(movements)}, {"conserved", std::move(balances)}};
}

} // namespace orvo::host
