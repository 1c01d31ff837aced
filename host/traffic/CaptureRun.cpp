// SPDX-License-Identifier: MIT
// The order of a capture: filter, output and board are tried in this order, and no file is replaced before
// frames can come.
#include "traffic/CaptureRun.h"

#include "base/Output.h"
#include "base/Progress.h"
#include "base/Signals.h"
#include "device/FileConflicts.h"
#include "frames/FrameLines.h"
#include "frames/FrameReport.h"
#include "traffic/SilentPort.h"

#include <fmt/format.h>

#include <memory>
#include <numeric>

namespace orvo::host {
namespace {

using Clock = std::chrono::steady_clock;

std::string progressText(const CaptureTotals& totals) {
    return fmt::format("{} frames received ({:.1f} MB), {} written", grouped(totals.received.frames),
                       static_cast<double>(totals.received.bytes) / 1e6, grouped(totals.written.frames));
}

std::unique_ptr<FrameOutput> openOutput(const CaptureRequest& request) {
    if (request.output.empty()) return std::make_unique<FrameLines>();
    return std::make_unique<CaptureOutput>(request.output, captureInterface(request.port.address),
                                           request.ring);
}

CaptureResult record(const CaptureRequest& request, const BoardAccess& access, TrafficRun& traffic,
                     FrameOutput& output, const FrameFilter* filter) {
    const auto port = request.port.address;
    output.begin();
    Capture capture(traffic.port(port), output, filter);
    if (endRequested() == 0) notice("capturing at port " + port.text() + "; end with Ctrl-C");
    std::optional<Progress> progress;
    if (!request.output.empty()) // lines for people show the progress themselves
        progress.emplace([&] { return progressText(capture.totals()); });
    const auto explain = [&] {
        notice("no frame has come to port " + port.text() + " in 3 s: " + silenceReason(access, port));
    };
    auto limits = request.limits;
    if (access.playback) limits.isOver = [&] { return access.playback->isOver(); };
    return capture.run(
        limits, [&] { traffic.stop(); }, access.playback ? Capture::Call() : explain);
}

std::string filesOf(const CaptureReport& report) {
    std::string text;
    for (const auto& file : report.files)
        text += (text.empty() ? "" : ", ") +
                (file.path == FrameOutput::standardOutput ? "standard output" : file.path);
    return text;
}

} // namespace

CaptureReport runCapture(const CaptureRequest& request) {
    const auto port = request.port.address;
    std::optional<FrameFilter> filter;
    if (!request.filter.empty()) filter.emplace(request.filter);
    const auto output = openOutput(request);
    const BoardAccess access(request.installation, port.board);
    if (access.simulator) refuseFilesOfWires({.written = output->paths()}, *access.simulator);
    TrafficRun traffic(access, request.installation, {port}, !request.port.noReset);
    if (request.port.crcWatch) traffic.watchCrcErrors();
    traffic.openLive();

    CaptureReport report{.request = request};
    const auto begin = Clock::now();
    report.result = record(request, access, traffic, *output, filter ? &*filter : nullptr);
    report.duration = Clock::now() - begin;
    report.files = output->files();
    report.overwrittenFrames = output->overwrittenFrames();
    report.account = traffic.finish({{.port = port, .received = report.result.totals.received.frames}});
    return report;
}

std::uint64_t CaptureReport::writtenFrames() const noexcept {
    return std::accumulate(
        files.begin(), files.end(), std::uint64_t{0},
        [](std::uint64_t sum, const FrameOutput::File& file) { return sum + file.frames; });
}

std::uint64_t CaptureReport::unwrittenFrames() const noexcept {
    return result.totals.received.frames - result.totals.filteredOut - writtenFrames() - overwrittenFrames;
}

std::string captureText(const CaptureReport& report) {
    const auto& [totals, end, failure] = report.result;
    const auto& request = report.request;
    auto text = countLine("received", totals.received, "at port " + request.port.address.text());
    if (!request.filter.empty())
        text += framesLine("filtered", totals.filteredOut, "out by " + request.filter);
    text += framesLine("written", report.writtenFrames(), "to " + filesOf(report));
    if (request.ring) text += framesLine("dropped", report.overwrittenFrames, "with the oldest files");
    if (const auto frames = report.lostFrames())
        text += framesLine("lost", frames, "that could not be written");
    if (const auto frames = report.unreadFrames())
        text += framesLine("unread", frames, "that the reader did not take any more");
    return text + durationLine(report.duration) + reportLine("ended", captureEndText(end)) +
           report.account.text();
}

nlohmann::ordered_json captureJson(const CaptureReport& report) {
    const auto& [totals, end, failure] = report.result;
    auto files = nlohmann::ordered_json::array();
    for (const auto& file : report.files) files.push_back({{"file", file.path}, {"frames", file.frames}});
    nlohmann::ordered_json document = {{"port", report.request.port.address.text()},
                                       {"received", countJson(totals.received)},
                                       {"filteredOut", totals.filteredOut},
                                       {"written", report.writtenFrames()},
                                       {"overwritten", report.overwrittenFrames},
                                       {"lost", report.lostFrames()},
                                       {"unread", report.unreadFrames()},
                                       {"files", std::move(files)},
                                       {"seconds", report.duration.count()},
                                       {"ended", captureEndText(end)}};
    report.account.addTo(document);
    return document;
}

} // namespace orvo::host
