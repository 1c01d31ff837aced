// SPDX-License-Identifier: MIT
#include "traffic/WireRun.h"

#include "base/Failure.h"
#include "base/Output.h"
#include "base/Signals.h"
#include "traffic/FrameReceiver.h"

namespace orvo::host {
namespace {

TrafficAccount recordWhileOpen(const BoardAccess& access, const BoardOptions& boards, const PortOptions& port,
                               WireSource& source, const WireRecorder& record) {
    TrafficRun traffic(access, boards, {port.address}, !port.noReset);
    traffic.openLive();
    FrameReceiver receiver(traffic.port(port.address), nullptr, nullptr);
    {
        const SignalShield handledHere; // the thread inherits it
        receiver.start();
    }
    record(source, [&] { traffic.stop(); });
    receiver.stop();
    return traffic.finish({{.port = port.address, .received = receiver.returned().frames}});
}

} // namespace

void checkWire(const PortOptions& port, const BoardAccess& access) {
    access.requireSimulator("--at wire");
    if (port.crcWatch)
        throw UsageFailure("--crc-watch is for --at host; at the wire, damaged frames are seen in any case");
    if (!access.server.empty() && access.hasFaults)
        throw UsageFailure(
            "--at wire only listens at a server's boards; start the faults with: orvo-gige sim "
            "faults FILE");
}

WireRun runAtWire(const BoardAccess& access, const BoardOptions& boards, const PortOptions& port,
                  const WireRecorder& record) {
    const CableTap tap(*access.libraries.hal(), port.address);
    WireSource source(tap);
    WireRun run;
    if (access.server.empty())
        run.account = recordWhileOpen(access, boards, port, source, record);
    else
        record(source, [] {});
    run.counts = source.counts();
    return run;
}

std::string wireText(const WireCounts& wire, PortAddress port) {
    const auto missed = wire.missed.received + wire.missed.sent;
    auto text = countLine("received", wire.received, "at port " + port.text()) +
                countLine("sent", wire.sent, "by port " + port.text());
    if (wire.died.frames() != 0) text += wire.died.lines("died");
    if (missed != 0)
        text += framesLine("missed", missed,
                           "that came faster than they could be taken (" + grouped(wire.missed.received) +
                               " received, " + grouped(wire.missed.sent) + " sent)");
    return text;
}

nlohmann::ordered_json wireJson(const WireCounts& wire) {
    return {{"received", countJson(wire.received)},
            {"sent", countJson(wire.sent)},
            {"died", wire.died.json()},
            {"missed", {{"received", wire.missed.received}, {"sent", wire.missed.sent}}}};
}

} // namespace orvo::host
