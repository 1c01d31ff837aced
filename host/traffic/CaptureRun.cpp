// SPDX-License-Identifier: MIT
// The order of a capture: filter, output and board are tried in this order, and no file is replaced before
// frames can come.
#include "traffic/CaptureRun.h"

#include "base/Notice.h"
#include "base/Output.h"
#include "base/Progress.h"
#include "base/Signals.h"
#include "device/FileConflicts.h"

#include <fmt/format.h>

namespace orvo::host {
namespace {

using Clock = std::chrono::steady_clock;

std::string progressText(const CaptureTotals& totals) {
    return fmt::format("{} frames received ({:.1f} MB), {} written", grouped(totals.received.frames),
                       static_cast<double>(totals.received.bytes) / 1e6, grouped(totals.written.frames));
}

CaptureResult record(const CaptureRequest& request, TrafficRun& traffic, CaptureOutput& output,
                     const FrameFilter* filter) {
    const auto port = request.port.address;
    output.begin();
    Capture capture(traffic.port(port), output, filter);
    if (endRequested() == 0) notice("capturing at port " + port.text() + "; end with Ctrl-C");
    const Progress progress([&] { return progressText(capture.totals()); });
    return capture.run(request.limits, [&] { traffic.stop(); });
}

} // namespace

CaptureReport runCapture(const CaptureRequest& request) {
    request.installation.requireRealTime();
    const auto port = request.port.address;
    std::optional<FrameFilter> filter;
    if (!request.filter.empty()) filter.emplace(request.filter);
    CaptureOutput output(request.output, captureInterface(port), request.ring);
    const BoardAccess access(request.installation, port.board);
    if (access.simulator) refuseFilesOfWires({.written = output.paths()}, *access.simulator);
    TrafficRun traffic(access, request.installation, {port}, !request.port.noReset);
    traffic.openLive();

    CaptureReport report{.request = request};
    const auto begin = Clock::now();
    report.result = record(request, traffic, output, filter ? &*filter : nullptr);
    report.duration = Clock::now() - begin;
    report.files = output.files();
    report.overwrittenFrames = output.overwrittenFrames();
    report.account = traffic.finish({{.port = port, .received = report.result.totals.received.frames}});
    return report;
}

} // namespace orvo::host
