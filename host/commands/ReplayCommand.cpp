// SPDX-License-Identifier: MIT
// The order of a replay: what can be refused is refused before the board is touched, and the output before
// that.
#include "commands/ReplayCommand.h"

#include "base/Failure.h"
#include "base/Output.h"
#include "base/Progress.h"
#include "base/ReplacedFile.h"
#include "base/Signals.h"
#include "commands/ReplayReport.h"
#include "device/Board.h"
#include "device/BoardAccess.h"
#include "device/FileConflicts.h"
#include "device/Ports.h"
#include "inspect/faults/FaultWatch.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <memory>

namespace orvo::host {
namespace {

void refuseSameFile(const ReplayOptions& options) {
    if (isSameFile(options.input, options.output))
        throw Failure(quoted(options.output) +
                      " is the capture that is to be sent; name another file with --write");
    if (isSameFile(options.output, "/dev/stdout"))
        throw Failure(quoted(options.output) +
                      " is standard output, where the report goes; name another file with --write");
}

void refuseUnfitting(const ReplayOptions& options, const CaptureReader& capture) {
    if (options.times != 1 && !capture.isRegularFile())
        throw UsageFailure(
            quoted(options.input) +
            " is no regular file and can be read only once; leave --loop out, or save it first");
    if (options.pace.kind != Pace::Kind::Max && options.installation.virtualTime)
        throw UsageFailure("--pace waits in real time; leave --time virtual out");
}

/// Reads the capture through, so that a damaged one is refused before anything is sent or replaced. Returns
/// its number of frames; nothing for a pipe, which can be read only once.
std::optional<std::uint64_t> checkCapture(const CaptureReader& capture, const ReplayOptions& options) {
    if (!capture.isRegularFile()) return std::nullopt;
    const auto& path = options.input;
    const Progress progress([&] { return "checking " + path; });
    CaptureReader reader(path);
    std::uint64_t frames = 0;
    Schedule schedule(options.pace);
    std::chrono::nanoseconds lastDue{0};
    for (CapturedFrame frame; reader.next(frame); ++frames) {
        if (!dropReason(frame)) lastDue = schedule.next(frame.recordedAt);
        throwIfEndRequested();
    }
    if (frames == 0) throw Failure(quoted(path) + " holds no frame; name a capture with frames in it");
    if (options.times != 1 && options.pace.kind == Pace::Kind::Recorded && lastDue.count() == 0)
        throw Failure("no time passes between the frames of " + quoted(path) +
                      ", so --loop has no pace to keep; give one in frames per second with --pace");
    return frames;
}

std::unique_ptr<PcapngWriter> openOutput(const ReplayOptions& options, PortAddress receivingPort) {
    if (options.output.empty()) return nullptr;
    const auto interface = captureInterface(receivingPort);
    return std::make_unique<PcapngWriter>(options.output, interface.name, interface.description);
}

PortAddress receivingPortOf(const ReplayOptions& options, const BoardAccess& session) {
    if (options.receivingPort) return *options.receivingPort;
    const auto wire = session.simulator ? session.simulator->wire(options.port.address) : std::string();
    const std::string prefix = "port:";
    if (!wire.starts_with(prefix)) return options.port.address;
    return PortAddress::parse(wire.substr(prefix.size())).value_or(options.port.address);
}

std::string progressText(const Replay& replay, std::optional<std::uint64_t> frames) {
    return fmt::format("{}{} frames sent, {} received", grouped(replay.sentFrames()),
                       frames ? " of " + grouped(*frames) : "", grouped(replay.receivedFrames()));
}

/// Faults in virtual time: this thread decides what time it is, so that everything happens again.
bool isDriven(const BoardAccess& session) {
    return session.hasFaults && session.virtualTime;
}

pcapng::Timestamp drivenTime(const BoardAccess& session, std::uint64_t begin) {
    constexpr pcapng::Timestamp year2000 = 946'684'800'000'000'000; // as the simulated board's own captures
    return year2000 + 1000 * (session.simulator->microseconds() - begin);
}

ReplayHooks hooksOf(const BoardAccess& session, PortAddress receivingPort, FaultWatch& watch) {
    if (!session.hasFaults) return {};
    ReplayHooks hooks{[&watch] { watch.end(); }, {}, {}};
    if (!isDriven(session)) return hooks;
    hooks.pass = [&session](std::chrono::microseconds time) {
        session.simulator->advanceTime(static_cast<std::uint64_t>(time.count()));
    };
    hooks.hasMore = [&session, receivingPort] {
        return session.simulator->state(receivingPort)->queuedWords != 0;
    };
    return hooks;
}

std::vector<HostCount> hostCountsOf(const ReplayReport& report, std::uint64_t late) {
    const auto sent = report.result.sent.frames, received = report.result.received.frames;
    if (report.sendingPort == report.receivingPort) return {{report.sendingPort, sent, received, late}};
    return {{report.sendingPort, sent, std::nullopt, std::nullopt},
            {report.receivingPort, std::nullopt, received, late}};
}

Pace paceFrom(const std::string& text) {
    if (const auto pace = Pace::parse(text)) return *pace;
    throw WrongValue(
        fmt::format("{} is none of recorded, max, a factor such as 2x ({:.6f}x to {:.0f}x), and frames "
                    "per second such as 1000 ({} to {:.0f})",
                    quoted(text), Pace::leastFactor, Pace::mostFactor, Pace::leastFramesPerSecond,
                    Pace::mostFramesPerSecond));
}

PortAddress receivingPortFrom(const std::string& text) {
    if (const auto port = PortAddress::parse(text)) return *port;
    throw WrongValue(quoted(text) + " is not of the form BOARD/PORT, such as 0/1");
}

} // namespace

ReplayCommand::ReplayCommand(Program& program)
    : Command(program, "replay",
              "Send every frame of a capture through a port, and receive what comes back") {
    line().text("IN", "", options_.input, "Capture to send, pcap or pcapng, of Ethernet frames").required();
    line()
        .text("--write", "OUT", options_.output, "Write what the port receives to this file, as pcapng")
        .notEmpty();
    line().flag("--verify", options_.verify, "Demand that every frame comes back identical and in order");
    line().value(
        "--pace", "recorded|Nx|PPS|max", [this](const std::string& text) { options_.pace = paceFrom(text); },
        "Send as recorded, N times as fast (2x, 0.5x), at a rate in frames per second (1000), or as fast as "
        "what "
        "returns has room (max, default)");
    line().number("--loop", options_.times, {}, "Send the capture N times; 0: until interrupted (default 1)");
    addTo(line(), options_.port);
    line().value(
        "--receive", "BOARD/PORT",
        [this](const std::string& text) { options_.receivingPort = receivingPortFrom(text); },
        "Port that receives (default: the one that the simulated wire leads to, else the sending one)");
    addTo(line(), options_.installation);
    addFaultsTo(line(), options_.installation);
    line().flag("--json", options_.json, "Print the report as JSON");
}

int ReplayCommand::run() {
    CaptureReader capture(options_.input);
    refuseSameFile(options_);
    refuseUnfitting(options_, capture);
    const auto framesOnce = checkCapture(capture, options_);
    const auto frames =
        framesOnce && options_.times > 0 ? std::optional(*framesOnce * options_.times) : std::nullopt;
    const auto address = options_.port.address;
    const BoardAccess session(options_.installation, address.board);
    const auto sessionBegin = session.simulator ? session.simulator->microseconds() : 0;
    if (session.simulator) refuseFilesOfWires({{options_.input}, {options_.output}}, *session.simulator);
    const auto receivingPort = receivingPortOf(options_, session);
    const auto output = openOutput(options_, receivingPort);
    requireFrameRegisters(session.libraries, address);
    FaultWatch watch(session, options_.installation, {address, receivingPort});
    Ports ports(session, {address, receivingPort}, !options_.port.noReset);
    ports.open();
    watch.begin();

    if (output && isDriven(session)) output->setClock([&] { return drivenTime(session, sessionBegin); });
    if (output) output->begin();
    Verifier verifier;
    ReplayReport report{.options = options_, .sendingPort = address, .receivingPort = receivingPort};
    {
        Replay replay(ports.at(address).interface(), ports.at(receivingPort).interface(), output.get(),
                      options_.verify || session.hasFaults ? &verifier : nullptr, options_.pace,
                      hooksOf(session, receivingPort, watch));
        const Progress progress([&] { return progressText(replay, frames); });
        report.result = replay.run(capture, options_.times);
    }
    report.interrupted = endRequested() != 0;
    if (options_.verify) report.verification = verifier.finish();
    const auto late = verifier.finish().late;
    if (output) report.writtenFrames = output->close(report.lostFrames());
    report.statistics = ports.finish();
    if (session.simulator) session.simulator->flushWires();
    report.ledger = watch.settle(report.statistics, hostCountsOf(report, late));
    const bool isAccounted = tellLedger(report.ledger);
    options_.json ? print(jsonOf(report)) : print(textOf(report));
    throwIfEndRequested();
    return report.passed() && isAccounted ? Done : DifferencesFound;
}

} // namespace orvo::host
