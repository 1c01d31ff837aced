// SPDX-License-Identifier: MIT
// Diagnosis of a port: the plug-in's report, decoded and judged.
#include "commands/DiagnoseCommand.h"

#include "app/Failure.h"
#include "app/Output.h"
#include "app/Progress.h"
#include "app/Signals.h"
#include "board/Board.h"
#include "board/Phy.h"
#include "board/Port.h"
#include "diagnosis/Diagnosis.h"
#include "faults/FaultWatch.h"

#include <fmt/format.h>

namespace orvo::host {
namespace {

constexpr std::uint32_t detailLevel = 2;

/// The link status that the PHY has latched since somebody looked last; reading it lets the next reading be
/// of now.
bool wasLinkDown(const Session& session, PortAddress port) {
    const auto board = Board::at(session.libraries, port.board);
    auto mdio = board ? MdioMaster::of(*board) : std::nullopt;
    const auto status = mdio ? mdio->read(port.port, 1) : std::nullopt;
    return status && (*status & 4U) == 0;
}

DumpReport readReport(Port& port, const PluginLog& log) {
    LogCollector report(log, detailLevel);
    {
        const SignalShield noShortSleeps;
        port.interface().triggerDebugOutput();
    }
    const auto lines = report.takeAll(); // also when a signal ends the command: what is left would be printed
    throwIfEndRequested();
    return DumpReport::parse(lines, port.address().text());
}

using Changes = std::vector<DiagnosisChange>;

nlohmann::ordered_json jsonOf(const Changes& changes, const std::string& since) {
    auto list = nlohmann::ordered_json::array();
    for (const auto& change : changes)
        list.push_back({{"what", change.what}, {"before", change.before}, {"after", change.after}});
    return {{"since", since}, {"changes", std::move(list)}};
}

std::string textOf(const Changes& changes, const std::string& since) {
    std::string text = changes.empty() ? "nothing changed since " + since + "\n" : "";
    for (const auto& change : changes)
        text += fmt::format("{}: {} -> {}\n", change.what, change.before.empty() ? "(none)" : change.before,
                            change.after.empty() ? "(none)" : change.after);
    return text;
}

} // namespace

Diagnosed diagnose(const Session& session, PortAddress address, FaultWatch* watch) {
    const Progress progress([&] { return "diagnosing port " + address.text() + " (takes about 5 s)"; });
    const PluginLog log(session.installation);
    if (!log.available())
        throw Failure("the report cannot be read: " + quoted(session.installation.root().string()) +
                      " has no log dispatcher that hands messages out; put ours into its lib64");
    requirePhyRegisters(session.libraries, address);
    Plugin plugin(session.installation);
    Port port(plugin, log, address, false);
    port.open();
    if (watch) watch->begin();
    const bool wasDown = wasLinkDown(session, address);
    auto diagnosis = diagnosisOf(readReport(port, log), address.text(), wasDown);
    if (watch) watch->end();
    return {std::move(diagnosis), {address, port.finish()}};
}

DiagnoseCommand::DiagnoseCommand(Program& program)
    : Command(program, "diagnose", "Show what a port and its link are like, and what is wrong with them") {
    port_.addTo(line(), PortOptions::Reset::Never);
    installation_.addTo(line());
    installation_.addFaultsTo(line());
    line().flag("--json", json_, "Print JSON instead of text");
    line().text("--diff", "OLD.json", oldFile_, "Show what changed since this diagnosis, kept with --json");
}

int DiagnoseCommand::run() {
    nlohmann::ordered_json before;
    if (!oldFile_.empty()) {
        before = readDiagnosis(oldFile_);
        before.erase("faults"); // they were of that run
    }
    const Session session(installation_, port_.address.board);
    FaultWatch watch(session, installation_, {port_.address});
    auto [diagnosis, statistics] = diagnose(session, port_.address, &watch);
    const auto ledger = watch.settle({statistics}, {{.port = port_.address}});
    const bool isAccounted = tellLedger(ledger);
    if (!json_) {
        print(oldFile_.empty() ? textOfDiagnosis(diagnosis)
                               : textOf(changesBetween(before, diagnosis), oldFile_));
    } else {
        auto document =
            oldFile_.empty() ? std::move(diagnosis) : jsonOf(changesBetween(before, diagnosis), oldFile_);
        if (ledger) document["faults"] = jsonOf(*ledger);
        print(document);
    }
    return isAccounted ? Done : DifferencesFound;
}

} // namespace orvo::host
