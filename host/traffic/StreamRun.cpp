// SPDX-License-Identifier: MIT
#include "traffic/StreamRun.h"

#include "base/Output.h"
#include "base/Progress.h"
#include "base/Signals.h"
#include "frames/CaptureReader.h"
#include "frames/FrameReport.h"
#include "traffic/PortCounters.h"
#include "traffic/SilentPort.h"
#include "traffic/StreamOutput.h"

#include <fmt/format.h>

namespace orvo::host {
namespace {

StreamRunReport readCapture(const StreamRequest& request, const StreamAccount::Take& take) {
    StreamRunReport report{.request = request};
    CaptureReader reader(request.capture);
    StreamAccount account(take);
    CapturedFrame frame;
    while (reader.next(frame)) {
        throwIfEndRequested();
        ++report.frames;
        account.add({frame.bytes, frame.length}, frame.recordedAt.count());
    }
    account.finish();
    report.streams = account.report();
    return report;
}

std::string progressText(const LiveStreams& streams) {
    const auto now = streams.report();
    std::uint64_t whole = 0, damaged = 0, missing = 0;
    for (const auto& stream : now.streams) {
        whole += stream.figures.whole();
        damaged += stream.figures.damaged();
        missing += stream.figures.missing;
    }
    return fmt::format("{}, {} complete, {} not, {} missing", counted(now.streams.size(), "stream"),
                       counted(whole, "image"), grouped(damaged), counted(missing, "packet"));
}

StreamRunReport followPort(const StreamRequest& request, const StreamAccount::Take& take) {
    const auto port = request.port.address;
    StreamRunReport report{.request = request};
    const BoardAccess access(request.installation, port.board);
    TrafficRun traffic(access, request.installation, {port}, !request.port.noReset);
    if (request.port.crcWatch) traffic.watchCrcErrors();
    std::optional<PortCounters> counters;
    if (request.port.noReset) counters.emplace(access, port); // frames may come as soon as the port is open
    traffic.openLive();
    if (!counters) counters.emplace(access, port); // what passed by during the reset is no loss
    LiveStreams streams(take);
    StreamOutput output(streams);
    PortSource source(traffic.port(port));
    Capture capture(source, output, nullptr);
    if (endRequested() == 0) notice("following the streams at port " + port.text() + "; end with Ctrl-C");
    const auto explain = [&] {
        notice("no frame has come to port " + port.text() + " in 3 s: " + silenceReason(access, port));
    };
    std::optional<Progress> progress([&] { return progressText(streams); });
    const auto ending = [&] {
        counters->finish(); // while frames are still taken: later ones overflow the queue
        traffic.stop();
    };
    const auto result = capture.run(request.limits, ending, explain);
    progress.reset();
    if (result.failure) std::rethrow_exception(result.failure);
    report.frames = result.totals.received.frames;
    report.streams = streams.report();
    report.troubles = counters->troubles();
    report.account = traffic.finish({{.port = port, .received = report.frames}});
    return report;
}

} // namespace

StreamRunReport runStreams(const StreamRequest& request, const StreamAccount::Take& take) {
    return request.capture.empty() ? followPort(request, take) : readCapture(request, take);
}

std::string streamRunText(const StreamRunReport& report) {
    const auto where = report.request.capture.empty() ? "from port " + report.request.port.address.text()
                                                      : "in " + report.request.capture;
    auto text = framesLine("read", report.frames, where) + streamsSection(report.streams, report.troubles);
    if (report.streams.streams.empty()) text += reportLine("streams", "none");
    return report.account ? text + report.account->text() : text;
}

nlohmann::ordered_json streamRunJson(const StreamRunReport& report) {
    nlohmann::ordered_json document;
    if (report.request.capture.empty())
        document["port"] = report.request.port.address.text();
    else
        document["file"] = report.request.capture;
    document["frames"] = report.frames;
    document.update(streamsSectionJson(report.streams, report.troubles));
    if (report.account) report.account->addTo(document);
    return document;
}

} // namespace orvo::host
