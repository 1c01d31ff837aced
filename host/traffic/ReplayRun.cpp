// SPDX-License-Identifier: MIT
// The order of a replay: the capture is checked first, then the output, then the board.
#include "traffic/ReplayRun.h"

#include "base/Failure.h"
#include "base/Output.h"
#include "base/OutputFile.h"
#include "base/Progress.h"
#include "base/Signals.h"
#include "device/Board.h"
#include "device/FileConflicts.h"

#include <fmt/format.h>

#include <filesystem>
#include <memory>

namespace orvo::host {
namespace {

/// The capture's file, where it has one.
std::string inputFile(const ReplayRequest& request) {
    return request.input == CaptureStream::standardInput ? "/dev/stdin" : request.input;
}

void refuseSameFile(const ReplayRequest& request) {
    if (request.writesToOutput()) return;
    if (isSameFile(inputFile(request), request.output))
        throw Failure(quoted(request.output) +
                      " is the capture that is to be sent; name another file with --write");
    if (isSameFile(request.output, "/dev/stdout"))
        throw Failure(quoted(request.output) +
                      " is standard output, where the report goes; write - instead, or name another file");
}

/// Whether the capture can be read several times.
bool isRegularFile(const ReplayRequest& request) {
    std::error_code unknown; // then reading gives the reason
    return request.input != CaptureStream::standardInput &&
           (std::filesystem::is_regular_file(request.input, unknown) || unknown);
}

void refuseUnfitting(const ReplayRequest& request) {
    if (request.times != 1 && !isRegularFile(request))
        throw UsageFailure(
            request.inputName() +
            " is not a regular file and can be read only once; leave --loop out, or save it first");
    if (request.sending.pace.kind != Pace::Kind::Max && request.boards.virtualTime)
        throw UsageFailure("--pace waits in real time; leave --time virtual out");
}

/// Reads the whole capture, so that an empty one is refused before anything is sent or replaced. Returns the
/// number of frames to send; nothing when it is not known: for a pipe, which can be read only once, and for
/// an endless loop.
std::optional<std::uint64_t> checkCapture(const ReplayRequest& request) {
    if (!isRegularFile(request)) return std::nullopt;
    const auto& path = request.input;
    const Progress progress([&] { return "checking " + path; });
    CaptureReader reader(path);
    std::uint64_t frames = 0;
    Schedule schedule(request.sending.pace);
    std::chrono::nanoseconds lastDue{0};
    for (CapturedFrame frame; reader.next(frame); ++frames) {
        if (!dropReason(frame)) lastDue = schedule.next(frame.recordedAt);
        throwIfEndRequested();
    }
    if (frames == 0) throw Failure(quoted(path) + " holds no frame; name a capture with frames in it");
    if (request.times != 1 && request.sending.pace.kind == Pace::Kind::Recorded && lastDue.count() == 0)
        throw Failure("no time passes between the frames of " + quoted(path) +
                      ", so --loop has no pace to keep; give one in frames per second with --pace");
    return request.times > 0 ? std::optional(frames * request.times) : std::nullopt;
}

std::unique_ptr<PcapngWriter> openOutput(const ReplayRequest& request, PortAddress receivingPort) {
    if (request.output.empty()) return nullptr;
    const auto target =
        request.writesToOutput() ? BlockFile::Target::StandardOutput : BlockFile::Target::NamedFile;
    return std::make_unique<PcapngWriter>(request.output, captureInterface(receivingPort), target);
}

PortAddress receivingPortOf(const ReplayRequest& request, const BoardAccess& access) {
    if (request.receivingPort) return *request.receivingPort;
    const auto sendingPort = request.port.address;
    return access.farEnd(sendingPort).value_or(sendingPort);
}

std::string progressText(const Replay& replay, std::optional<std::uint64_t> frames) {
    return fmt::format("{}{} frames sent, {} received", grouped(replay.sentFrames()),
                       frames ? " of " + grouped(*frames) : "", grouped(replay.receivedFrames()));
}

/// With faults in virtual time, this thread advances the clock, so that a run can be repeated exactly.
bool drivesTime(const BoardAccess& access) {
    return access.hasFaults && access.virtualTime;
}

/// The board's time since `begin`, counted from the year 2000, as in the simulated board's own captures.
std::function<pcapng::Timestamp()> boardClock(const BoardAccess& access, std::uint64_t begin) {
    constexpr pcapng::Timestamp year2000 = 946'684'800'000'000'000;
    return [&access, begin] { return year2000 + 1000 * (access.simulator->microseconds() - begin); };
}

ReplayHooks hooksOf(const BoardAccess& access, PortAddress receivingPort, TrafficRun& traffic) {
    ReplayHooks hooks{[&traffic] { traffic.endFaults(); }, {}, {}};
    if (!drivesTime(access)) return hooks;
    hooks.pass = [&access](std::chrono::microseconds time) {
        access.simulator->advanceTime(static_cast<std::uint64_t>(time.count()));
    };
    hooks.hasMore = [&access, receivingPort] {
        return access.simulator->state(receivingPort)->queuedWords != 0;
    };
    return hooks;
}

/// While it lives, this program appends the check sequence of every frame that the port sends.
class HostChecksums {
public:
    explicit HostChecksums(core::zume::PhysicalNetworkInterface& port) : port_(port) {
        port.enableCustomChecksum(true);
        if (!port.isCustomChecksumEnabled())
            throw Failure(
                "the plug-in leaves the check sequence to the board; leave --fcs and --bad-fcs out");
    }
    ~HostChecksums() { port_.enableCustomChecksum(false); }
    HostChecksums(const HostChecksums&) = delete;
    HostChecksums& operator=(const HostChecksums&) = delete;

private:
    core::zume::PhysicalNetworkInterface& port_;
};

std::vector<HostCount> hostCountsOf(const ReplayReport& report, std::uint64_t late) {
    const auto sendingPort = report.request.port.address, receivingPort = report.receivingPort;
    const auto sent = report.result.sent.frames, received = report.result.received.frames;
    if (sendingPort == receivingPort) return {{sendingPort, sent, received, late}};
    return {{sendingPort, sent, std::nullopt, std::nullopt}, {receivingPort, std::nullopt, received, late}};
}

} // namespace

ReplayReport runReplay(const ReplayRequest& request) {
    refuseUnfitting(request);
    CaptureReader capture(request.input);
    refuseSameFile(request);
    const auto frames = checkCapture(request);
    const auto port = request.port.address;
    const BoardAccess access(request.boards, port.board);
    const auto beginOfTime = access.simulator ? access.simulator->microseconds() : 0;
    if (access.simulator) refuseFilesOfWires({{inputFile(request)}, {request.output}}, *access.simulator);
    ReplayReport report{.request = request, .receivingPort = receivingPortOf(request, access)};
    const auto output = openOutput(request, report.receivingPort);
    requireFrameRegisters(access.libraries, port);
    if (request.hostMakesFcs) requireChecksumRegister(access.libraries, port);
    TrafficRun traffic(access, request.boards, {port, report.receivingPort}, !request.port.noReset);
    if (request.port.crcWatch) traffic.watchCrcErrors();
    traffic.open();

    if (output && drivesTime(access)) output->setClock(boardClock(access, beginOfTime));
    if (output) output->begin();
    Verifier verifier;
    {
        std::optional<HostChecksums> checksums;
        if (request.hostMakesFcs) checksums.emplace(traffic.port(port));
        Replay replay(traffic.port(port), traffic.port(report.receivingPort), output.get(),
                      request.verify || access.hasFaults ? &verifier : nullptr, request.sending,
                      hooksOf(access, report.receivingPort, traffic));
        const Progress progress([&] { return progressText(replay, frames); });
        report.result = replay.run(capture, request.times);
    }
    report.captureFault = capture.fault();
    report.interrupted = endRequested() != 0;
    const auto& verification = verifier.finish();
    if (request.verify) report.verification = verification;
    if (output) report.writtenFrames = output->close(report.lostFrames());
    report.account = traffic.finish(hostCountsOf(report, verification.late));
    return report;
}

} // namespace orvo::host
