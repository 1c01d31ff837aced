// SPDX-License-Identifier: MIT
// The order of a capture: filter, output and board are tried in this order, and nothing is replaced before
// frames can come.
#include "commands/CaptureCommand.h"

#include "base/Failure.h"
#include "base/Notice.h"
#include "base/Output.h"
#include "base/Progress.h"
#include "base/Signals.h"
#include "device/BoardAccess.h"
#include "device/FileConflicts.h"
#include "device/Ports.h"
#include "frames/FrameReport.h"
#include "inspect/faults/FaultWatch.h"

#include <fmt/format.h>

#include <chrono>
#include <cstdio>

namespace orvo::host {
namespace {

using Clock = std::chrono::steady_clock;

constexpr double shortestSeconds = 0.001;
constexpr double longestSeconds = 1e9; // 31 years

struct CaptureReport {
    const CaptureOptions& options;
    const CaptureOutput& output;
    CaptureResult result = {};
    std::chrono::duration<double> duration = {};
    std::vector<PortStatistics> statistics = {};
    std::optional<Ledger> ledger = {};

    /// Frames that the output did not take: by a failure, or because its reader was gone or slow in the end.
    std::uint64_t lostFrames() const { return result.failure ? unwrittenFrames() : 0; }
    std::uint64_t unreadFrames() const { return result.failure ? 0 : unwrittenFrames(); }

private:
    std::uint64_t unwrittenFrames() const {
        return result.totals.received.frames - result.totals.filteredOut - output.framesInFiles() -
               output.overwrittenFrames();
    }
};

std::string filesOf(const CaptureOutput& output) {
    std::string text;
    for (const auto& file : output.files())
        text += (text.empty() ? "" : ", ") +
                (file.path == CaptureOutput::standardOutput ? "standard output" : file.path);
    return text;
}

std::string textOf(const CaptureReport& report) {
    const auto& totals = report.result.totals;
    auto text = countLine("received", totals.received, "at port " + report.options.port.address.text());
    if (!report.options.filter.empty())
        text +=
            reportLine("filtered", counted(totals.filteredOut, "frame") + " out by " + report.options.filter);
    text += reportLine("written",
                       counted(report.output.framesInFiles(), "frame") + " to " + filesOf(report.output));
    if (report.options.ring)
        text += reportLine("dropped",
                           counted(report.output.overwrittenFrames(), "frame") + " with the oldest files");
    if (const auto frames = report.lostFrames())
        text += reportLine("lost", counted(frames, "frame") + " that could not be written");
    if (const auto frames = report.unreadFrames())
        text += reportLine("unread", counted(frames, "frame") + " that the reader did not take any more");
    text += reportLine("duration", fmt::format("{:.3f} s", report.duration.count()));
    return text + reportLine("ended", textOf(report.result.end)) + textOf(report.statistics);
}

nlohmann::ordered_json jsonOf(const CaptureReport& report) {
    auto files = nlohmann::ordered_json::array();
    for (const auto& file : report.output.files())
        files.push_back({{"file", file.path}, {"frames", file.frames}});
    nlohmann::ordered_json document = {{"port", report.options.port.address.text()},
                                       {"received", jsonOf(report.result.totals.received)},
                                       {"filteredOut", report.result.totals.filteredOut},
                                       {"written", report.output.framesInFiles()},
                                       {"overwritten", report.output.overwrittenFrames()},
                                       {"lost", report.lostFrames()},
                                       {"unread", report.unreadFrames()},
                                       {"files", std::move(files)},
                                       {"seconds", report.duration.count()},
                                       {"ended", textOf(report.result.end)},
                                       {"statistics", jsonOf(report.statistics)}};
    if (report.ledger) document["faults"] = jsonOf(*report.ledger);
    return document;
}

std::string progressText(const CaptureTotals& totals) {
    return fmt::format("{} frames received ({:.1f} MB), {} written", grouped(totals.received.frames),
                       static_cast<double>(totals.received.bytes) / 1e6, grouped(totals.written.frames));
}

void publish(const CaptureReport& report) {
    const auto text = report.options.json ? host::textOf(jsonOf(report)) : textOf(report);
    if (report.options.output == CaptureOutput::standardOutput)
        std::fputs(text.c_str(), stderr); // standard output is the capture
    else
        print(text);
}

CaptureResult record(const CaptureOptions& options, Ports& ports, CaptureOutput& output,
                     const FrameFilter* filter, FaultWatch& watch) {
    output.begin();
    Capture capture(ports.at(options.port.address).interface(), output, filter);
    if (endRequested() == 0) notice("capturing at port " + options.port.address.text() + "; end with Ctrl-C");
    const Progress progress([&] { return progressText(capture.totals()); });
    return capture.run(options.limits, [&] {
        watch.end();
        ports.stop();
    });
}

FileRing ringFrom(const std::string& text) {
    if (const auto ring = FileRing::parse(text)) return *ring;
    throw WrongValue(quoted(text) +
                     " is not of the form FILES:SIZE with at least 2 files of at least 4096 bytes, "
                     "such as 10:100M");
}

} // namespace

CaptureCommand::CaptureCommand(Program& program)
    : Command(program, "capture", "Write what a port receives as pcapng, until interrupted") {
    line()
        .text("--write", "OUT", options_.output, "File to write; - is standard output, for a pipe")
        .required();
    line().number("--count", options_.limits.frames, {.least = 1}, "End after so many frames written");
    line().value(
        "--duration", "S",
        [this](const std::string& text) {
            options_.limits.time = secondsFrom(text, shortestSeconds, longestSeconds);
        },
        "End after so many seconds");
    line().value(
        "--ring", "N:SIZE", [this](const std::string& text) { options_.ring = ringFrom(text); },
        "Write N files of at most SIZE bytes (k, M, G) in turn, named OUT with a number");
    line().text("--filter", "EXPR", options_.filter,
                "Write only frames that match, in libpcap's filter language");
    addTo(line(), options_.port);
    addTo(line(), options_.installation);
    addFaultsTo(line(), options_.installation);
    line().flag("--json", options_.json, "Print the report as JSON");
}

int CaptureCommand::run() {
    return runCapture(options_);
}

int runCapture(const CaptureOptions& options) {
    options.installation.requireRealTime();
    const auto address = options.port.address;
    std::optional<FrameFilter> filter;
    if (!options.filter.empty()) filter.emplace(options.filter);
    CaptureOutput output(options.output, captureInterface(address), options.ring);
    const BoardAccess session(options.installation, address.board);
    if (session.simulator) refuseFilesOfWires({.written = output.paths()}, *session.simulator);
    FaultWatch watch(session, options.installation, {address});
    Ports ports(session, {address}, !options.port.noReset);
    ports.openLive();
    watch.begin();

    CaptureReport report{.options = options, .output = output};
    const auto begin = Clock::now();
    report.result = record(options, ports, output, filter ? &*filter : nullptr, watch);
    report.duration = Clock::now() - begin;
    report.statistics = ports.finish();
    if (session.simulator) session.simulator->flushWires();
    report.ledger = watch.settle(report.statistics,
                                 {{.port = address, .received = report.result.totals.received.frames}});
    const bool isAccounted = tellLedger(report.ledger);
    publish(report);
    if (report.result.failure) std::rethrow_exception(report.result.failure);
    return isAccounted ? Done : DifferencesFound;
}

} // namespace orvo::host
