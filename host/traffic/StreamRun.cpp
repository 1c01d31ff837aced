// SPDX-License-Identifier: MIT
#include "traffic/StreamRun.h"

#include "base/Failure.h"
#include "base/Output.h"
#include "base/Progress.h"
#include "base/Signals.h"
#include "frames/CaptureReader.h"
#include "frames/FrameReport.h"
#include "traffic/PortCounters.h"
#include "traffic/SilentPort.h"
#include "traffic/StreamOutput.h"
#include "traffic/WireRun.h"

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
        const Bytes bytes(frame.bytes, frame.length);
        if (frame.diedAt)
            account.addDead(bytes, *frame.diedAt, frame.recordedAt.count());
        else
            account.add(bytes, frame.recordedAt.count());
    }
    account.finish();
    report.captureFault = reader.fault();
    report.streams = account.report();
    if (reader.notes().tellsDeaths()) report.troubles = troublesOf(report.streams, reader.notes().missed());
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

/// What all runs at a port have.
struct StreamSetup {
    const StreamRequest& request;
    const BoardAccess& access;
    LiveStreams& streams;
};

/// Returns how many frames came.
std::uint64_t follow(const StreamSetup& setup, FrameSource& source, const Capture::Call& ending) {
    const auto port = setup.request.port.address;
    StreamOutput output(setup.streams);
    Capture capture(source, output, nullptr);
    if (endRequested() == 0)
        notice(std::string("following the streams at ") + (setup.request.atWire ? "the wire of " : "") +
               "port " + port.text() + "; end with Ctrl-C");
    const auto explain = [&] {
        notice("no frame has come to port " + port.text() + " in 3 s: " + silenceReason(setup.access, port));
    };
    std::optional<Progress> progress([&] { return progressText(setup.streams); });
    const auto result = capture.run(setup.request.limits, ending, explain);
    progress.reset();
    if (result.failure) std::rethrow_exception(result.failure);
    return result.totals.received.frames;
}

void followHost(const StreamSetup& setup, StreamRunReport& report) {
    const auto& [request, access, streams] = setup;
    const auto port = request.port.address;
    TrafficRun traffic(access, request.boards, {port}, !request.port.noReset);
    if (request.port.crcWatch) traffic.watchCrcErrors();
    std::optional<PortCounters> counters;
    if (request.port.noReset) counters.emplace(access, port); // frames may come as soon as the port is open
    traffic.openLive();
    if (!counters) counters.emplace(access, port); // what passed by during the reset is no loss
    PortSource source(traffic.port(port));
    report.frames = follow(setup, source, [&] {
        counters->finish(); // while frames are still taken: later ones overflow the queue
        traffic.stop();
    });
    report.troubles = counters->troubles();
    report.account = traffic.finish({{.port = port, .received = report.frames}});
}

void followWire(const StreamSetup& setup, StreamRunReport& report) {
    auto run = runAtWire(setup.access, setup.request.boards, setup.request.port,
                         [&](FrameSource& source, const Capture::Call& ending) {
                             report.frames = follow(setup, source, ending);
                         });
    report.troubles = troublesOf(setup.streams.report(), run.counts.missed.received + run.counts.missed.sent);
    report.wire = std::move(run.counts);
    if (setup.access.server.empty()) report.account = std::move(run.account);
}

StreamRunReport followPort(const StreamRequest& request, const StreamAccount::Take& take) {
    const BoardAccess access(request.boards, request.port.address.board);
    if (request.atWire) checkWire(request.port, access);
    LiveStreams streams(take);
    StreamRunReport report{.request = request};
    request.atWire ? followWire({request, access, streams}, report)
                   : followHost({request, access, streams}, report);
    report.streams = streams.report();
    return report;
}

} // namespace

StreamRunReport runStreams(const StreamRequest& request, const StreamAccount::Take& take) {
    return request.capture.empty() ? followPort(request, take) : readCapture(request, take);
}

std::string streamRunText(const StreamRunReport& report) {
    const auto where = report.request.capture.empty() ? "from port " + report.request.port.address.text()
                                                      : "in " + report.request.capture;
    auto text = (report.wire ? wireText(*report.wire, report.request.port.address)
                             : framesLine("read", report.frames, where)) +
                streamsSection(report.streams, report.troubles);
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
    if (report.wire) document.update(wireJson(*report.wire));
    document.update(streamsSectionJson(report.streams, report.troubles));
    if (report.account) report.account->addTo(document);
    return document;
}

} // namespace orvo::host
