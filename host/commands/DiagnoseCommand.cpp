// SPDX-License-Identifier: MIT
// Diagnosis of a port: the plug-in's report, decoded and judged.
#include "commands/DiagnoseCommand.h"

#include "base/Failure.h"
#include "base/Output.h"
#include "base/Progress.h"
#include "base/Signals.h"
#include "checkup/settings/Settings.h"
#include "device/Board.h"
#include "device/FileConflicts.h"
#include "device/Phy.h"
#include "device/Port.h"
#include "inspect/diagnosis/Diagnosis.h"
#include "inspect/faults/FaultWatch.h"
#include "inspect/report/ReportFiles.h"
#include "traffic/Observation.h"

#include <fmt/format.h>

namespace orvo::host {
namespace {

using Json = nlohmann::ordered_json;

constexpr std::uint32_t detailLevel = 2;
constexpr double leastSeconds = 0.1; // of watching
constexpr double mostSeconds = 3600;
constexpr std::chrono::seconds usualTime{5};

/// The link status that the PHY has latched since somebody looked last; reading it lets the next reading be
/// of now.
bool wasLinkDown(const BoardAccess& session, PortAddress port) {
    const auto board = Board::at(session.libraries, port.board);
    auto mdio = board ? MdioMaster::of(*board) : std::nullopt;
    const auto status = mdio ? mdio->read(port.port, 1) : std::nullopt;
    return status && (*status & 4U) == 0;
}

std::vector<std::string> readDump(Port& port, const PluginLog& log) {
    LogCollector report(log, detailLevel);
    {
        const SignalShield noShortSleeps;
        port.interface().triggerDebugOutput();
    }
    auto lines = report.takeAll(); // also when a signal ends the command: what is left would be printed
    throwIfEndRequested();
    return lines;
}

using Changes = std::vector<DiagnosisChange>;

Json jsonOf(const Changes& changes, const std::string& since) {
    auto list = nlohmann::ordered_json::array();
    for (const auto& change : changes)
        list.push_back({{"what", change.what}, {"before", change.before}, {"after", change.after}});
    return {{"since", since}, {"changes", std::move(list)}};
}

std::string textOf(const Changes& changes, const std::string& since) {
    std::string text = changes.empty() ? "nothing changed since " + since + "\n" : "";
    for (const auto& change : changes)
        text += fmt::format("{}: {} -> {}\n", oneLine(change.what),
                            oneLine(change.before.empty() ? "(none)" : change.before),
                            oneLine(change.after.empty() ? "(none)" : change.after));
    return text;
}

std::vector<ReportedSetting> reported(const std::vector<Setting>& settings) {
    std::vector<ReportedSetting> rows;
    for (const auto& setting : settings)
        rows.push_back({setting.name, setting.value, textOf(setting.origin), setting.meaning});
    return rows;
}

ReportedSettings reported(const Settings& settings) {
    ReportedSettings result{reported(settings.properties), reported(settings.others), {}, textOf(settings)};
    for (const auto& remark : remarksOn(settings))
        result.remarks.push_back(textOf(remark.where) + ": " + remark.text);
    return result;
}

} // namespace

Diagnosed diagnose(const BoardAccess& session, PortAddress address, FaultWatch* watch,
                   Observation* observation) {
    std::optional<Progress> progress; // what follows has one of its own
    progress.emplace([&] { return "diagnosing port " + address.text() + " (takes about 5 s)"; });
    const PluginLog log(session.installation);
    if (!log.available())
        throw Failure("the report cannot be read: " + quoted(session.installation.root().string()) +
                      " has no log dispatcher that hands messages out; put ours into its lib64");
    requirePhyRegisters(session.libraries, address);
    Plugin plugin(session.installation);
    Port port(plugin, log, address, false);
    port.open();
    FrameReceiver receiver(port.interface(), nullptr, nullptr); // ends before the port
    if (observation) observation->begin(receiver);
    if (watch) watch->begin();
    const bool wasDown = wasLinkDown(session, address);
    auto dump = readDump(port, log);
    const auto report = DumpReport::parse(dump, address.text());
    if (watch) watch->end();
    progress.reset();
    if (observation) observation->goOn(port.interface(), receiver);
    return {diagnosisOf(report, address.text(), wasDown,
                        observation ? observation->findings() : std::vector<Finding>()),
            {address, port.finish()},
            std::move(dump)};
}

DiagnoseCommand::DiagnoseCommand(Program& program)
    : Command(program, "diagnose", "Show what a port and its link are like, and what is wrong with them") {
    addAddressTo(line(), port_);
    addTo(line(), installation_);
    addFaultsTo(line(), installation_);
    line().flag("--json", json_, "Print JSON instead of text");
    line().text("--diff", "OLD.json", oldFile_, "Show what changed since this diagnosis, kept with --json");
    line()
        .text("--html", "FILE", pageFile_, "Write a page with all of it, and with rates over time")
        .notEmpty();
    line()
        .text(
            "--bundle", "FILE.tar.gz", bundleFile_,
            "Write an archive with the page, what it was made from, and a capture of what the port receives")
        .notEmpty();
    line().value(
        "--seconds", "S",
        [this](const std::string& text) { observationTime_ = secondsFrom(text, leastSeconds, mostSeconds); },
        "How long page and bundle go on watching the port (default 5)");
}

int DiagnoseCommand::run() {
    Json before;
    if (!oldFile_.empty()) {
        before = readDiagnosis(oldFile_);
        before.erase("faults"); // they were of that run
    }
    ReportFiles files(pageFile_, bundleFile_);
    if (observationTime_ && !files.areWanted())
        throw UsageFailure(
            "--seconds is for a page or bundle; name one with --html or --bundle, or leave it out");
    const BoardAccess session(installation_, port_.board);
    if (session.simulator) refuseFilesOfWires({.written = {pageFile_, bundleFile_}}, *session.simulator);
    FaultWatch watch(session, installation_, {port_});
    std::optional<Observation> observation;
    if (files.areWanted())
        observation.emplace(session, port_, observationTime_.value_or(usualTime), files.capturePath());
    const auto time = std::chrono::system_clock::now();
    auto [diagnosis, statistics, dump] =
        diagnose(session, port_, &watch, observation ? &*observation : nullptr);
    const auto ledger = watch.settle(
        {statistics}, {{.port = port_, .received = observation ? observation->receivedFrames() : 0}});
    const bool isAccounted = tellLedger(ledger);
    const auto changes = oldFile_.empty() ? Changes() : changesBetween(before, diagnosis);
    auto changesJson = jsonOf(changes, oldFile_);
    if (ledger) diagnosis["faults"] = changesJson["faults"] = jsonOf(*ledger); // no part of what is compared
    if (json_)
        print(oldFile_.empty() ? diagnosis : changesJson);
    else
        print(oldFile_.empty() ? textOfDiagnosis(diagnosis) : textOf(changes, oldFile_));
    if (observation)
        files.write({time, session.installation.root().string(), std::move(diagnosis), std::move(dump),
                     observation->track(), observation->takeLog(),
                     reported(readSettings(installation_.root))});
    return isAccounted ? Done : DifferencesFound;
}

} // namespace orvo::host
