// SPDX-License-Identifier: MIT
// The order of a bridge: the TAP is made before the board is touched, so that a user without the right to
// make one need not wait for the board's reset.
#include "traffic/BridgeRun.h"

#include "base/Failure.h"
#include "base/NetworkNamespace.h"
#include "base/Output.h"
#include "base/Progress.h"
#include "base/Repetition.h"
#include "base/RequestSignals.h"
#include "base/Signals.h"
#include "device/Board.h"
#include "device/FileConflicts.h"
#include "inspect/watch/MetricsFile.h"
#include "traffic/PortCounters.h"
#include "traffic/PortLosses.h"
#include "traffic/ReinitializationRun.h"
#include "traffic/TapEnd.h"

#include <fmt/format.h>

#include <csignal>
#include <cstdio>
#include <memory>

namespace orvo::host {
namespace {

using Clock = std::chrono::steady_clock;

Drops lossesOutside(const TapEnd& tap, const PortLosses& port) {
    Drops drops;
    drops.add("from the host: TAP queue full", tap.lostFrames());
    port.addTo(drops);
    return drops;
}

HostCount hostCountOf(PortAddress port, const BridgeTotals& totals) {
    return {.port = port, .handed = totals.toPort.frames, .received = totals.takenFromPort()};
}

/// The wire of a port must not end in the bridge's own TAP.
void refuseTapAsWire(const std::string& tap, const std::string& wire, bool isOfPort) {
    if (wire == "tap:" + tap)
        throw UsageFailure("the wire " + quoted(wire) +
                           " would be the TAP of the bridge itself; name another one with --wire or --tap");
    if (isOfPort && wire == "packet:" + tap)
        throw UsageFailure(
            "the wire " + quoted(wire) +
            " leads back to the bridge's own TAP, and every frame would come back; name another "
            "interface with --wire");
}

BoardAccess accessBoards(const BridgeRequest& request, const BridgeSetting& setting) {
    std::optional<NamespaceVisit> there;
    if (setting.wires) there.emplace(*setting.wires);
    return BoardAccess(request.boards, request.port.address.board);
}

/// Null where frames are not to be joined, and where asking costs more than it saves: a server's boards are
/// asked by a message.
std::unique_ptr<WaitingFrames> waitingFrames(const BridgeRequest& request, const BoardAccess& access) {
    if (request.noOffload || !access.server.empty()) return nullptr;
    return std::make_unique<WaitingFrames>(access.libraries, request.port.address);
}

void tellReady(const BridgeRequest& request, const BridgeSetting& setting) {
    if (endRequested() != 0) return;
    if (setting.ready) return setting.ready();
    notice("port " + request.port.address.text() + " and " + request.tap + " are bridged; end with Ctrl-C");
}

/// A bridge with everything that a user sees of it while it runs.
class LiveBridge {
public:
    LiveBridge(const BridgeRequest& request, const BoardAccess& access, TrafficRun& traffic, TapEnd& tap,
               const RequestSignals& requests, BridgeRecording* recording)
        : request_(request), traffic_(traffic), tap_(tap), losses_(access, request.port.address),
          reopening_(traffic.device(request.port.address)), counters_(access, request.port.address),
          bridge_(traffic.port(request.port.address), tap.device(), waitingFrames(request, access), requests,
                  recording, streams_, hooks()) {}

    void run(const BridgeSetting& setting, MetricsFile& metrics) {
        tellReady(request_, setting);
        carry(setting, metrics);
        streams_.finish();
        duration_ = Clock::now() - begin_;
    }

    /// The report so far. Any thread.
    BridgeReport report() {
        auto report = counts();
        report.streams = streams_.report();
        report.troubles = counters_.troubles();
        return report;
    }

    /// The report of the whole bridge. Call it once, after `run`.
    BridgeReport finish() {
        tap_.observe();
        auto report = this->report();
        if (isReleased_) losses_.noteRelease(report.totals.takenFromPort(), false);
        report.account = traffic_.finish({hostCountOf(request_.port.address, report.totals)});
        report.drops = lossesOutside(tap_, losses_);
        report.addOwnDrops();
        return report;
    }

private:
    /// While threads of its own show and write the counts.
    void carry(const BridgeSetting& setting, MetricsFile& metrics) {
        std::optional<Repetition> writing;
        std::optional<Progress> progress;
        {
            const SignalShield handledHere; // the threads inherit it
            if (metrics.isWanted())
                writing.emplace(std::chrono::seconds{1}, [&] { metrics.renew(metricsOfBridge(report())); });
            if (!setting.ready) progress.emplace([this] { return progressText(); });
        }
        bridge_.run();
    }

    /// Without the streams. Any thread, until the bridge has ended.
    BridgeReport counts() const {
        BridgeReport report{
            .request = request_, .totals = bridge_.totals(), .drops = lossesOutside(tap_, losses_)};
        report.duration = duration_.count() != 0 ? duration_ : Clock::now() - begin_;
        report.account.events = traffic_.events();
        report.addOwnDrops();
        return report;
    }

    Bridge::Hooks hooks() {
        return {.tell = notice,
                .tapRead = [this] { tap_.observe(); },
                .tapReturned = [this] { tap_.setUpAgain(); },
                .ending = [this] { end(); },
                .report = [this] { std::fputs(bridgeText(report()).c_str(), stderr); },
                .release = [this] { return release(); },
                .reopen = [this] { return reopen(); }};
    }

    std::string progressText() const {
        const auto now = counts();
        const auto &toPort = now.totals.toPort, &toTap = now.totals.toTap;
        return fmt::format("to the port {} ({:.1f} MB), to the TAP {} ({:.1f} MB), dropped {}",
                           grouped(toPort.frames), static_cast<double>(toPort.bytes) / 1e6,
                           grouped(toTap.frames), static_cast<double>(toTap.bytes) / 1e6,
                           grouped(now.drops.frames()));
    }

    /// The port still takes frames; afterwards, its queue may overflow.
    void end() {
        counters_.finish();
        traffic_.stop();
    }

    bool release() {
        counters_.letGo();
        try {
            traffic_.device(request_.port.address).releaseDevice();
        } catch (const Failure& error) {
            notice(error.what());
            return false;
        }
        isReleased_ = true;
        releasedAt_ = Clock::now();
        lostOfTap_ = bridge_.totals().whileReleased;
        notice("the device of port " + request_.port.address.text() +
               " is released, and traffic pauses; SIGUSR2 opens it again");
        return true;
    }

    bool reopen() {
        if (!reopening_.attempt()) return false;
        isReleased_ = false;
        const auto totals = bridge_.totals();
        const auto lostOfWire = losses_.noteRelease(totals.takenFromPort(), true);
        const std::chrono::duration<double> time = Clock::now() - releasedAt_;
        notice(fmt::format(
            "the device of port {} is open again after {:.1f} s; lost meanwhile: {} from the TAP, {}",
            request_.port.address.text(), time.count(), counted(totals.whileReleased - lostOfTap_, "frame"),
            losses_.areKnown() ? counted(lostOfWire, "frame") + " from the wire"
                               : "and what came from the wire"));
        return true;
    }

    const BridgeRequest& request_;
    TrafficRun& traffic_;
    TapEnd& tap_;
    PortLosses losses_;
    DeviceReopening reopening_;
    const Clock::time_point begin_ = Clock::now();
    std::chrono::duration<double> duration_{0}; // once it has ended
    bool isReleased_ = false;
    Clock::time_point releasedAt_{};
    std::uint64_t lostOfTap_ = 0; // until the release
    PortCounters counters_;
    LiveStreams streams_;
    Bridge bridge_;
};

/// Null when none is asked for. Errors: Failure when its file cannot be written.
std::unique_ptr<BridgeRecording> openRecording(const BridgeRequest& request) {
    if (request.recording.empty()) return nullptr;
    return std::make_unique<BridgeRecording>(request.recording, request.port.address.text(), request.tap);
}

void refuseWires(const BridgeRequest& request, const BridgeSetting& setting,
                 const SimulatorControl& simulator) {
    refuseTapAsWire(request.tap, simulator.wire(request.port.address), !setting.wires);
    if (!request.recording.empty()) refuseFilesOfWires({.written = {request.recording}}, simulator);
}

} // namespace

BridgeReport runBridge(const BridgeRequest& request, const BridgeSetting& setting) {
    const auto port = request.port.address;
    const RequestSignals requests{SIGUSR1, SIGUSR2};
    TapEnd tap(request); // first: a name that no TAP can have is the better reason
    for (const auto& option : request.boards.wires)
        refuseTapAsWire(request.tap, option.wire, option.address(port.board) == port);
    const auto recording = openRecording(request);
    MetricsFile metrics(request.metricsFile);
    metrics.renew(metricsOfBridge({.request = request}));
    tap.setUp();
    const auto access = accessBoards(request, setting);
    if (access.simulator) refuseWires(request, setting, *access.simulator);
    requireFrameRegisters(access.libraries, port);
    TrafficRun traffic(access, request.boards, {port}, !request.port.noReset);
    if (request.port.crcWatch) traffic.watchCrcErrors();
    traffic.openLive();

    if (recording) recording->begin();
    LiveBridge bridge(request, access, traffic, tap, requests, recording.get());
    bridge.run(setting, metrics);
    if (recording) recording->finish();
    auto report = bridge.finish();
    if (recording)
        report.recording = BridgeRecordingReport{recording->recordedFrames(), recording->omittedFrames()};
    metrics.renew(metricsOfBridge(report));
    return report;
}

} // namespace orvo::host
