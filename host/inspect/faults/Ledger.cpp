// SPDX-License-Identifier: MIT
// Forms of the ledger.
#include "inspect/faults/Ledger.h"

#include "base/Output.h"
#include "device/PortStatistics.h"
#include "frames/FrameReport.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <numeric>
#include <sstream>

namespace orvo::host {
namespace {

std::uint64_t sumOf(const std::vector<Statement::Part>& parts) {
    return std::accumulate(parts.begin(), parts.end(), std::uint64_t{0},
                           [](std::uint64_t sum, const auto& part) { return sum + part.frames; });
}

std::string expectation(const Movement& movement) {
    if (movement.least == movement.most) return grouped(movement.least);
    if (movement.most == Movement::anyNumber) return grouped(movement.least) + " or more";
    return grouped(movement.least) + " to " + grouped(movement.most);
}

std::string lineOf(const Movement& movement) {
    const auto head = movement.what + " (" + movement.where.text() + "): ";
    if (!movement.moved && !movement.mustBeSeen) return head + "not seen here";
    const auto moved = head + (movement.moved ? grouped(*movement.moved) : "not told");
    if (movement.differs()) return moved + ", DIFFERENT: must be " + expectation(movement);
    return moved + ", as must be" + (movement.least != movement.most ? ": " + expectation(movement) : "");
}

std::string listOf(const std::vector<Statement::Part>& parts) {
    std::string text;
    for (const auto& part : parts)
        if (part.frames != 0 || &part == &parts.front())
            text += (text.empty() ? "" : " + ") + grouped(part.frames) + " " + part.name;
    return text;
}

std::string lineOf(const Statement& statement) {
    auto whole = statement.added;
    whole.insert(whole.begin(), statement.whole);
    const auto text = statement.what + ": " + listOf(whole) + " = " + listOf(statement.parts);
    if (!statement.missing.empty()) return text + ", DIFFERENT: nobody told the frames " + statement.missing;
    return text + (statement.differs()
                       ? ", DIFFERENT by " +
                             std::to_string(static_cast<std::int64_t>(sumOf(statement.parts) - sumOf(whole)))
                       : "");
}

template <class Lines> std::string block(const std::string& name, const Lines& lines) {
    std::string text;
    for (const auto& line : lines) text += reportLine(text.empty() ? name : "", lineOf(line));
    return text;
}

nlohmann::ordered_json jsonOf(const Statement& statement) {
    const auto list = [](const std::vector<Statement::Part>& parts) {
        nlohmann::ordered_json frames = nlohmann::ordered_json::object();
        for (const auto& part : parts) frames[part.name] = part.frames;
        return frames;
    };
    auto whole = statement.added;
    whole.insert(whole.begin(), statement.whole);
    return {{"what", statement.what},
            {"frames", list(whole)},
            {"are", list(statement.parts)},
            {"holds", !statement.differs()}};
}

} // namespace

bool Statement::differs() const noexcept {
    return !missing.empty() || whole.frames + sumOf(added) != sumOf(parts);
}

bool Ledger::passed() const noexcept {
    const auto differs = [](const auto& line) { return line.differs(); };
    return std::none_of(movements.begin(), movements.end(), differs) &&
           std::none_of(statements.begin(), statements.end(), differs);
}

std::string textOfInjections(const Ledger& ledger) {
    auto text = reportLine("faults", ledger.script + ", seed " + std::to_string(ledger.seed));
    if (ledger.faults.empty()) return text;
    std::vector<std::vector<std::string>> rows{{"LINE", "FAULT", "WHERE", "INJECTED"}};
    for (const auto& fault : ledger.faults)
        rows.push_back({std::to_string(fault.line), fault.kind, fault.where,
                        fault.injected != 0 ? grouped(fault.injected) : "never happened"});
    std::istringstream lines(table(rows));
    for (std::string line; std::getline(lines, line);) text += reportLine("", line);
    return text;
}

std::string textOf(const Ledger& ledger) {
    return textOfInjections(ledger) + block("moved", ledger.movements) +
           block("conserved", ledger.statements);
}

nlohmann::ordered_json jsonOf(const Ledger& ledger) {
    nlohmann::ordered_json document = {
        {"script", ledger.script}, {"seed", ledger.seed}, {"passed", ledger.passed()}};
    auto& faults = document["injected"] = nlohmann::ordered_json::array();
    for (const auto& fault : ledger.faults)
        faults.push_back({{"line", fault.line},
                          {"kind", fault.kind},
                          {"where", fault.where},
                          {"times", fault.injected},
                          {"mustMove", fault.mustMove}});
    auto& movements = document["moved"] = nlohmann::ordered_json::array();
    for (const auto& movement : ledger.movements) {
        nlohmann::ordered_json entry = {
            {"what", movement.what}, {"port", movement.where.text()}, {"least", movement.least}};
        if (movement.most != Movement::anyNumber) entry["most"] = movement.most;
        if (movement.moved) entry["moved"] = *movement.moved;
        entry["passed"] = nullptr; // nobody looked
        if (movement.moved || movement.mustBeSeen) entry["passed"] = !movement.differs();
        movements.push_back(std::move(entry));
    }
    auto& statements = document["conserved"] = nlohmann::ordered_json::array();
    for (const auto& statement : ledger.statements) statements.push_back(jsonOf(statement));
    return document;
}

} // namespace orvo::host
