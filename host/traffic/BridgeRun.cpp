// SPDX-License-Identifier: MIT
// The order of a bridge: the TAP is made before the board is touched, so that a user without the right to
// make one need not wait for the board's reset.
#include "traffic/BridgeRun.h"

#include "base/Failure.h"
#include "base/NetworkNamespace.h"
#include "base/Output.h"
#include "base/Progress.h"
#include "base/Signals.h"
#include "device/Board.h"

#include <fmt/format.h>

#include <numeric>

namespace orvo::host {
namespace {

using Clock = std::chrono::steady_clock;

/// The bridge's TAP, with its address and link, and the frames of the host that its queue had no room for.
class TapEnd {
public:
    explicit TapEnd(const BridgeRequest& request) : request_(request), device_(request.tap) {}
    ~TapEnd() {
        if (addressAdded_) removeAddress(request_.tap, *request_.address);
    }
    TapEnd(const TapEnd&) = delete;
    TapEnd& operator=(const TapEnd&) = delete;

    TapDevice& device() noexcept { return device_; }

    void setUp() {
        const auto& address = request_.address;
        if (address) addressAdded_ = addAddress(request_.tap, *address);
        if (request_.setUp || address) setLinkUp(request_.tap);
    }

    /// After the TAP went and came back.
    void setUpAgain() {
        observe();
        try {
            setUp();
        } catch (const Failure& error) {
            notice(error.what());
        }
    }

    /// Reads the kernel's count of frames without room. The count ends with the interface: what was added
    /// after the last reading is then unknown.
    void observe() {
        const auto now = unsentFrames(request_.tap);
        if (now && seen_ && now->index == seen_->index) lost_.add(now->frames - seen_->frames); // modulo 2^32
        seen_ = now;
    }
    /// Any thread.
    std::uint64_t lostFrames() const noexcept { return lost_.value(); }

private:
    const BridgeRequest& request_;
    TapDevice device_;
    bool addressAdded_ = false; // and so to be removed in the end
    std::optional<UnsentFrames> seen_ = unsentFrames(request_.tap);
    LiveCounter lost_;
};

/// Frames that went no further at a port of the simulated board. On a real board only the plug-in's
/// statistics show them.
class PortLosses {
public:
    PortLosses(const BoardAccess& access, PortAddress port)
        : access_(access), port_(port), before_(counts()) {}

    /// Any thread.
    void addTo(Drops& drops) const {
        const auto now = counts();
        drops.add("of the TAP that could not leave the port, its link being down or its wire busy",
                  now.unsentFrames - before_.unsentFrames);
        drops.add("of the wire while the port had no link", now.ignoredFrames - before_.ignoredFrames);
        drops.add("of the wire for which the port's queue had no room",
                  now.overflowFrames - before_.overflowFrames);
        drops.add("of the wire that were damaged or too long", now.receiveErrors - before_.receiveErrors);
    }

private:
    OrvoSimPort counts() const {
        return access_.simulator ? access_.simulator->state(port_).value_or(OrvoSimPort{}) : OrvoSimPort{};
    }

    const BoardAccess& access_;
    const PortAddress port_;
    const OrvoSimPort before_;
};

Drops lossesOutside(const TapEnd& tap, const PortLosses& port) {
    Drops drops;
    drops.add("of the host for which the TAP's queue had no room", tap.lostFrames());
    port.addTo(drops);
    return drops;
}

/// Frames handed over that the plug-in did not send; its log names each of them.
std::uint64_t unsentByPlugin(const BridgeReport& report) {
    const auto sent = report.account.statistics.front().frames("Send");
    const auto handed = report.totals.toPort.frames;
    return sent && *sent < handed ? handed - *sent : 0;
}

void addOwnDrops(BridgeReport& report) {
    const auto& totals = report.totals;
    for (std::size_t i = 0; i < dropReasonCount; ++i)
        report.drops.add(std::string("of the TAP ") + textOfDropReason(static_cast<DropReason>(i)),
                         totals.unsendable[i]);
    report.drops.add("of the TAP that the plug-in did not send", unsentByPlugin(report));
    for (std::size_t i = 0; i < tapDropCount; ++i)
        report.drops.add(textOfTapDrop(static_cast<TapDrop>(i)), totals.undelivered[i]);
}

HostCount hostCountOf(PortAddress port, const BridgeTotals& totals) {
    const auto received =
        std::accumulate(totals.undelivered.begin(), totals.undelivered.end(), totals.toTap.frames);
    return {.port = port, .handed = totals.toPort.frames, .received = received};
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
    return BoardAccess(request.installation, request.port.address.board);
}

void tellReady(const BridgeRequest& request, const BridgeSetting& setting) {
    if (endRequested() != 0) return;
    if (setting.ready) return setting.ready();
    notice("port " + request.port.address.text() + " and " + request.tap + " are bridged; end with Ctrl-C");
}

std::string progressText(const BridgeTotals& totals, std::uint64_t lostOutside) {
    return fmt::format("to the port {} ({:.1f} MB), to the TAP {} ({:.1f} MB), dropped {}",
                       grouped(totals.toPort.frames), static_cast<double>(totals.toPort.bytes) / 1e6,
                       grouped(totals.toTap.frames), static_cast<double>(totals.toTap.bytes) / 1e6,
                       grouped(totals.droppedFrames() + lostOutside));
}

BridgeTotals carry(TrafficRun& traffic, TapEnd& tap, const PortLosses& portLosses,
                   const BridgeRequest& request, const BridgeSetting& setting) {
    Bridge bridge(traffic.port(request.port.address), tap.device(),
                  {.tell = notice,
                   .tapRead = [&] { tap.observe(); },
                   .tapReturned = [&] { tap.setUpAgain(); },
                   .ending = [&] { traffic.stop(); }});
    tellReady(request, setting);
    std::optional<Progress> progress;
    if (!setting.ready)
        progress.emplace(
            [&] { return progressText(bridge.totals(), lossesOutside(tap, portLosses).frames()); });
    bridge.run();
    return bridge.totals();
}

} // namespace

BridgeReport runBridge(const BridgeRequest& request, const BridgeSetting& setting) {
    const auto port = request.port.address;
    TapEnd tap(request); // first: a name that no TAP can have is the better reason
    for (const auto& option : request.installation.wires)
        refuseTapAsWire(request.tap, option.wire, option.address(port.board) == port);
    tap.setUp();
    const auto access = accessBoards(request, setting);
    if (access.simulator) refuseTapAsWire(request.tap, access.simulator->wire(port), !setting.wires);
    requireFrameRegisters(access.libraries, port);
    TrafficRun traffic(access, request.installation, {port}, !request.port.noReset);
    if (request.port.crcWatch) traffic.watchCrcErrors();
    traffic.openLive();

    BridgeReport report{.request = request};
    const PortLosses portLosses(access, port);
    const auto begin = Clock::now();
    report.totals = carry(traffic, tap, portLosses, request, setting);
    report.duration = Clock::now() - begin;
    tap.observe();
    report.account = traffic.finish({hostCountOf(port, report.totals)});
    report.drops = lossesOutside(tap, portLosses);
    addOwnDrops(report);
    return report;
}

std::string textOfBridge(const BridgeReport& report) {
    const auto port = report.request.port.address.text();
    const auto& tap = report.request.tap;
    return countLine("to port", report.totals.toPort, "from " + tap + " to port " + port) +
           countLine("to TAP", report.totals.toTap, "from port " + port + " to " + tap) +
           report.drops.lines() + durationLine(report.duration) + statisticsText(report.account.statistics);
}

nlohmann::ordered_json jsonOfBridge(const BridgeReport& report) {
    nlohmann::ordered_json document = {{"port", report.request.port.address.text()},
                                       {"tap", report.request.tap},
                                       {"toPort", jsonOfCount(report.totals.toPort)},
                                       {"toTap", jsonOfCount(report.totals.toTap)},
                                       {"dropped", report.drops.json()},
                                       {"seconds", report.duration.count()}};
    report.account.addTo(document);
    return document;
}

} // namespace orvo::host
