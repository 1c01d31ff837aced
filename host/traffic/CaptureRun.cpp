// SPDX-License-Identifier: MIT
// The order of a capture: filter, output and board are tried in this order, and no file is replaced before
// frames can come.
#include "traffic/CaptureRun.h"

#include "base/Failure.h"
#include "base/Numbers.h"
#include "base/Output.h"
#include "base/Progress.h"
#include "base/Signals.h"
#include "device/FileConflicts.h"
#include "frames/FrameLines.h"
#include "frames/FrameReport.h"
#include "traffic/SilentPort.h"
#include "traffic/WireRun.h"

#include <fmt/format.h>

#include <memory>
#include <numeric>

namespace orvo::host {
namespace {

std::string progressText(const CaptureTotals& totals) {
    return fmt::format("{} frames received ({:.1f} MB), {} written", grouped(totals.received.frames),
                       static_cast<double>(totals.received.bytes) / 1e6, grouped(totals.written.frames));
}

std::vector<CaptureOutput::Interface> interfacesOf(const CaptureRequest& request) {
    const auto port = request.port.address;
    return request.atWire ? WireSource::interfaces(port) : std::vector{captureInterface(port)};
}

std::unique_ptr<FrameOutput> openOutput(const CaptureRequest& request) {
    if (request.output.empty()) return std::make_unique<FrameLines>();
    return std::make_unique<CaptureOutput>(request.output, interfacesOf(request), request.ring);
}

/// What all captures have.
struct Setup {
    const CaptureRequest& request;
    const BoardAccess& access;
    FrameOutput& output;
    const FrameFilter* filter;
};

CaptureResult record(const Setup& setup, FrameSource& source, const Capture::Call& ending) {
    const auto& request = setup.request;
    const auto port = request.port.address;
    setup.output.begin();
    Capture capture(source, setup.output, setup.filter);
    if (endRequested() == 0)
        notice(std::string("capturing at ") + (request.atWire ? "the wire of " : "") + "port " + port.text() +
               "; end with Ctrl-C");
    std::optional<Progress> progress;
    if (!request.output.empty()) // lines for people show the progress themselves
        progress.emplace([&] { return progressText(capture.totals()); });
    const auto explain = [&] {
        notice("no frame has come to port " + port.text() + " in 3 s: " + silenceReason(setup.access, port));
    };
    auto limits = request.limits;
    const auto& playback = setup.access.playback;
    if (playback) limits.isOver = [&] { return playback->isOver(); };
    return capture.run(limits, ending, playback ? Capture::Call() : explain);
}

void captureAtHost(const Setup& setup, CaptureReport& report) {
    const auto& request = setup.request;
    const auto port = request.port.address;
    TrafficRun traffic(setup.access, request.boards, {port}, !request.port.noReset);
    if (request.port.crcWatch) traffic.watchCrcErrors();
    traffic.openLive();
    PortSource source(traffic.port(port));
    report.result = record(setup, source, [&] { traffic.stop(); });
    report.account = traffic.finish({{.port = port, .received = report.result.totals.received.frames}});
}

void captureAtWire(const Setup& setup, CaptureReport& report) {
    auto run = runAtWire(setup.access, setup.request.boards, setup.request.port,
                         [&](FrameSource& source, const Capture::Call& ending) {
                             report.result = record(setup, source, ending);
                         });
    report.wire = std::move(run.counts);
    report.account = std::move(run.account);
}

std::string filesOf(const CaptureReport& report) {
    std::string text;
    for (const auto& file : report.files)
        text += (text.empty() ? "" : ", ") + FrameOutput::nameText(file.path);
    return text;
}

} // namespace

CaptureReport runCapture(const CaptureRequest& request) {
    std::optional<FrameFilter> filter;
    if (!request.filter.empty()) filter.emplace(request.filter);
    const auto output = openOutput(request);
    const BoardAccess access(request.boards, request.port.address.board);
    if (access.simulator) refuseFilesOfWires({.written = output->paths()}, *access.simulator);
    if (request.atWire) checkWire(request.port, access);

    CaptureReport report{.request = request};
    const Setup setup{request, access, *output, filter ? &*filter : nullptr};
    request.atWire ? captureAtWire(setup, report) : captureAtHost(setup, report);
    report.files = output->files();
    report.overwrittenFrames = output->overwrittenFrames();
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
    const auto& [totals, end, failure, duration] = report.result;
    const auto& request = report.request;
    auto text = report.wire
                    ? wireText(*report.wire, request.port.address)
                    : countLine("received", totals.received, "at port " + request.port.address.text());
    if (!request.filter.empty())
        text += framesLine("filtered", totals.filteredOut, "out by " + request.filter);
    text += framesLine("written", report.writtenFrames(), "to " + filesOf(report));
    if (request.ring) text += framesLine("dropped", report.overwrittenFrames, "with the oldest files");
    if (const auto frames = report.lostFrames())
        text += framesLine("lost", frames, "that could not be written");
    if (const auto frames = report.unreadFrames())
        text += framesLine("unread", frames, "that the reader did not take any more");
    return text + durationLine(duration) + reportLine("ended", captureEndText(end)) + report.account.text();
}

nlohmann::ordered_json captureJson(const CaptureReport& report) {
    const auto& [totals, end, failure, duration] = report.result;
    auto files = nlohmann::ordered_json::array();
    for (const auto& file : report.files) files.push_back({{"file", file.path}, {"frames", file.frames}});
    nlohmann::ordered_json document = {{"port", report.request.port.address.text()}};
    document.update(report.wire ? wireJson(*report.wire)
                                : nlohmann::ordered_json{{"received", countJson(totals.received)}});
    document.update({{"filteredOut", totals.filteredOut},
                     {"written", report.writtenFrames()},
                     {"overwritten", report.overwrittenFrames},
                     {"lost", report.lostFrames()},
                     {"unread", report.unreadFrames()},
                     {"files", std::move(files)},
                     {"seconds", duration.count()},
                     {"ended", captureEndText(end)}});
    report.account.addTo(document);
    return document;
}

} // namespace orvo::host
