// SPDX-License-Identifier: MIT
#include "base/Failure.h"
#include "base/Output.h"
#include "checkup/settings/Settings.h"
#include "commands/CommonOptions.h"
#include "commands/HostProgram.h"
#include "device/FileConflicts.h"
#include "inspect/diagnosis/Diagnosis.h"
#include "inspect/report/ReportFiles.h"
#include "traffic/DiagnosisRun.h"
#include "traffic/Observation.h"

#include <fmt/format.h>

namespace orvo::host {
namespace {

using Json = nlohmann::ordered_json;
using Changes = std::vector<DiagnosisChange>;

constexpr double leastObservationSeconds = 0.1;
constexpr double mostObservationSeconds = 3600;
constexpr std::chrono::seconds usualTime{5};

Json changesJson(const Changes& changes, const std::string& since) {
    auto list = Json::array();
    for (const auto& change : changes)
        list.push_back({{"what", change.what}, {"before", change.before}, {"after", change.after}});
    return {{"since", since}, {"changes", std::move(list)}};
}

std::string changesText(const Changes& changes, const std::string& since) {
    std::string text = changes.empty() ? "nothing changed since " + since + "\n" : "";
    for (const auto& change : changes)
        text += fmt::format("{}: {} -> {}\n", oneLine(change.what),
                            oneLine(change.before.empty() ? "(none)" : change.before),
                            oneLine(change.after.empty() ? "(none)" : change.after));
    return text;
}

std::vector<ReportedSetting> reported(const std::vector<Setting>& settings) {
    std::vector<ReportedSetting> rows;
    rows.reserve(settings.size());
    for (const auto& setting : settings)
        rows.push_back({setting.name, setting.value, originText(setting.origin), setting.meaning});
    return rows;
}

ReportedSettings reported(const Settings& settings) {
    ReportedSettings result{
        reported(settings.properties), reported(settings.others), {}, settingsText(settings)};
    for (const auto& remark : remarksOn(settings))
        result.remarks.push_back(originText(remark.where) + ": " + remark.text);
    return result;
}

class DiagnoseCommand : public Command {
public:
    explicit DiagnoseCommand(Program& program)
        : Command(program, "diagnose", "Show the state of a port and its link, and what is wrong with them") {
        addAddressOptions(line(), port_);
        addInstallationOptions(line(), boards_);
        addTimeOption(line(), boards_);
        addFaultOptions(line(), boards_);
        addRecordOption(line(), boards_);
        addBoardRecordingOptions(line(), boards_);
        line().flag("--json", json_, "Print JSON instead of text");
        line().text("--diff", "OLD.json", oldFile_,
                    "Show what changed since this diagnosis, which --json printed");
        line()
            .text("--html", "FILE", pageFile_, "Write a page with all of it, and with rates over time")
            .notEmpty();
        line()
            .text("--bundle", "FILE.tar.gz", bundleFile_,
                  "Write an archive (also .zip) with the page, its sources, and a capture of what the port "
                  "receives")
            .notEmpty();
        line().value(
            "--seconds", "S",
            [this](const std::string& text) {
                observationTime_ = secondsFrom(text, leastObservationSeconds, mostObservationSeconds);
            },
            "How long to watch the port for the page or bundle (default 5)");
    }

    int run() override {
        ReportFiles files(pageFile_, bundleFile_);
        try {
            return run(files);
        } catch (const Failure& error) {
            files.rethrow(error);
        }
    }

private:
    int run(ReportFiles& files) {
        Json before;
        if (!oldFile_.empty()) {
            before = readDiagnosis(oldFile_);
            before.erase("faults");
        }
        if (observationTime_ && !files.areWanted())
            throw UsageFailure(
                "--seconds is for a page or bundle; name one with --html or --bundle, or leave it out");
        auto options = boards_;
        if (options.record.empty() && options.recording.empty()) {
            options.record = files.recordingPath();
            options.recordName = "calls.rec of " + bundleFile_;
        }
        BoardAccess access(options, port_.board);
        if (access.simulator) refuseFilesOfWires({.written = {pageFile_, bundleFile_}}, *access.simulator);
        std::optional<Observation> observation;
        if (files.areWanted())
            observation.emplace(access, port_, observationTime_.value_or(usualTime), files.capturePath());
        const auto time = std::chrono::system_clock::now();
        auto found = diagnose(access, boards_, port_, observation ? &*observation : nullptr);
        const bool isAccounted = printLedger(found.account.ledger);
        publish(found, before);
        access.endRecording();
        if (observation)
            files.write({time, access.installation.root().string(), std::move(found.document),
                         std::move(found.dump), observation->history(), observation->takeLog(),
                         reported(readSettings(boards_.root)), observation->images(),
                         observation->streams()});
        return isAccounted ? Done : DifferencesFound;
    }

    /// Prints the diagnosis, or what changed in it since `before`; the ledger belongs to one run and is added
    /// after the comparison.
    void publish(Diagnosed& found, const Json& before) const {
        const auto changes = oldFile_.empty() ? Changes() : changesBetween(before, found.document);
        auto document = changesJson(changes, oldFile_);
        if (const auto& ledger = found.account.ledger)
            found.document["faults"] = document["faults"] = ledgerJson(*ledger);
        if (json_)
            printReport(oldFile_.empty() ? found.document : document);
        else
            printReport(oldFile_.empty() ? diagnosisText(found.document) : changesText(changes, oldFile_));
    }

    BoardOptions boards_;
    PortAddress port_;
    bool json_ = false;
    std::string oldFile_;                                          // empty: nothing to compare with
    std::string pageFile_, bundleFile_;                            // empty: not wanted
    std::optional<std::chrono::duration<double>> observationTime_; // nothing: not given
};

} // namespace

std::unique_ptr<Command> makeDiagnoseCommand(Program& program) {
    return std::make_unique<DiagnoseCommand>(program);
}

} // namespace orvo::host
