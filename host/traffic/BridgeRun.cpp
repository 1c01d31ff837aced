// SPDX-License-Identifier: MIT
// The order of a bridge: the TAP is had before the board is touched, and its link goes up when the port can
// carry frames.
#include "traffic/BridgeRun.h"

#include "base/Failure.h"
#include "base/NetworkNamespace.h"
#include "base/Notice.h"
#include "base/Output.h"
#include "base/Progress.h"
#include "base/Signals.h"
#include "device/Board.h"
#include "device/BoardAccess.h"
#include "device/Ports.h"
#include "frames/TapDevice.h"
#include "inspect/faults/FaultWatch.h"
#include "traffic/Bridge.h"
#include "traffic/BridgeLosses.h"

#include <fmt/format.h>

#include <chrono>
#include <numeric>

namespace orvo::host {
namespace {

using Clock = std::chrono::steady_clock;

std::string progressText(const BridgeTotals& totals, std::uint64_t lostElsewhere) {
    return fmt::format("to the port {} ({:.1f} MB), to the TAP {} ({:.1f} MB), dropped {}",
                       grouped(totals.toPort.frames), static_cast<double>(totals.toPort.bytes) / 1e6,
                       grouped(totals.toTap.frames), static_cast<double>(totals.toTap.bytes) / 1e6,
                       grouped(totals.droppedFrames() + lostElsewhere));
}

struct BridgeReport {
    const BridgeOptions& options;
    BridgeTotals totals = {};
    Drops lostElsewhere = {};
    std::chrono::duration<double> duration = {};
    std::vector<PortStatistics> statistics = {};
    std::optional<Ledger> ledger = {};

    Drops drops() const;
};

/// What of the frames handed over the plug-in did not send, as its log has told one by one.
std::uint64_t unsentByPlugin(const BridgeReport& report) {
    const auto sent = report.statistics.front().frames("Send");
    const auto handed = report.totals.toPort.frames;
    return sent && *sent < handed ? handed - *sent : 0;
}

Drops BridgeReport::drops() const {
    auto drops = lostElsewhere;
    for (std::size_t i = 0; i < dropReasonCount; ++i)
        drops.add(std::string("of the TAP ") + textOf(static_cast<DropReason>(i)), totals.unsendable[i]);
    drops.add("of the TAP that the plug-in did not send", unsentByPlugin(*this));
    for (std::size_t i = 0; i < tapDropCount; ++i)
        drops.add(textOf(static_cast<TapDrop>(i)), totals.undelivered[i]);
    return drops;
}

std::string textOf(const BridgeReport& report) {
    const auto port = report.options.port.address.text();
    return countLine("to port", report.totals.toPort, "from " + report.options.tap + " to port " + port) +
           countLine("to TAP", report.totals.toTap, "from port " + port + " to " + report.options.tap) +
           report.drops().lines() + reportLine("duration", fmt::format("{:.3f} s", report.duration.count())) +
           textOf(report.statistics);
}

nlohmann::ordered_json jsonOf(const BridgeReport& report) {
    nlohmann::ordered_json document = {
        {"port", report.options.port.address.text()}, {"tap", report.options.tap},
        {"toPort", jsonOf(report.totals.toPort)},     {"toTap", jsonOf(report.totals.toTap)},
        {"dropped", report.drops().json()},           {"seconds", report.duration.count()},
        {"statistics", jsonOf(report.statistics)}};
    if (report.ledger) document["faults"] = jsonOf(*report.ledger);
    return document;
}

HostCount hostCountOf(const BridgeReport& report) {
    const auto& totals = report.totals;
    const auto received =
        std::accumulate(totals.undelivered.begin(), totals.undelivered.end(), totals.toTap.frames);
    return {.port = report.options.port.address, .handed = totals.toPort.frames, .received = received};
}

/// Gives the TAP its address and its link, and takes an address away again that it did not have before.
class TapSettings {
public:
    explicit TapSettings(const BridgeOptions& options) : options_(options) {}
    ~TapSettings() {
        if (added_) removeAddress(options_.tap, *options_.address);
    }
    TapSettings(const TapSettings&) = delete;
    TapSettings& operator=(const TapSettings&) = delete;

    void apply() {
        if (options_.address) added_ = addAddress(options_.tap, *options_.address, options_.addressText);
        if (options_.setUp || options_.address) setLinkUp(options_.tap);
    }

private:
    const BridgeOptions& options_;
    bool added_ = false;
};

/// A port's wire must not end in the port's own TAP.
void refuseTapAsWire(const BridgeOptions& options, const std::string& wire, bool isOfPort) {
    if (wire == "tap:" + options.tap)
        throw UsageFailure("the wire " + quoted(wire) +
                           " would be the TAP of the bridge itself; name another one with --wire or --tap");
    if (isOfPort && wire == "packet:" + options.tap)
        throw UsageFailure(
            "the wire " + quoted(wire) +
            " leads back to the bridge's own TAP, and every frame would come back; name another "
            "interface with --wire");
}

void refuseTapAsWire(const BridgeOptions& options) {
    const auto address = options.port.address;
    for (const auto& option : options.installation.wires)
        refuseTapAsWire(options, option.wire, option.address(address.board) == address);
}

BoardAccess openSession(const BridgeOptions& options, const BridgeSetting& setting) {
    std::optional<NamespaceVisit> there;
    if (setting.wires) there.emplace(*setting.wires);
    return BoardAccess(options.installation, options.port.address.board);
}

void tellReady(const BridgeOptions& options, const BridgeSetting& setting) {
    if (endRequested() != 0) return;
    if (setting.ready) return setting.ready();
    notice("port " + options.port.address.text() + " and " + options.tap + " are bridged; end with Ctrl-C");
}

/// What surrounds the bridge while it carries frames.
struct Surroundings {
    TapDevice& tap;
    TapSettings& tapSettings;
    TapQueueLosses& tapLosses;
    const PortLosses& portLosses;
    Ports& ports;
    FaultWatch& faults;

    Drops losses() const {
        Drops drops;
        drops.add("of the host for which the TAP's queue had no room", tapLosses.frames());
        portLosses.addTo(drops);
        return drops;
    }
    void setUpTapAgain() const {
        tapLosses.observe();
        try {
            tapSettings.apply();
        } catch (const Failure& error) {
            notice(error.what());
        }
    }
};

BridgeTotals carry(const Surroundings& around, const BridgeOptions& options, const BridgeSetting& setting) {
    Bridge bridge(around.ports.at(options.port.address).interface(), around.tap,
                  {.tell = notice,
                   .tapRead = [&] { around.tapLosses.observe(); },
                   .tapReturned = [&] { around.setUpTapAgain(); },
                   .ending =
                       [&] {
                           around.faults.end();
                           around.ports.stop();
                       }});
    tellReady(options, setting);
    std::optional<Progress> progress;
    if (!setting.ready)
        progress.emplace([&] { return progressText(bridge.totals(), around.losses().frames()); });
    bridge.run();
    return bridge.totals();
}

} // namespace

int runBridge(const BridgeOptions& options, const BridgeSetting& setting) {
    options.installation.requireRealTime();
    const auto address = options.port.address;
    TapDevice tap(options.tap);
    refuseTapAsWire(options);
    TapQueueLosses tapLosses(options.tap);
    TapSettings tapSettings(options);
    tapSettings.apply();
    const auto session = openSession(options, setting);
    if (session.simulator) refuseTapAsWire(options, session.simulator->wire(address), !setting.wires);
    requireFrameRegisters(session.libraries, address);
    FaultWatch watch(session, options.installation, {address});
    Ports ports(session, {address}, !options.port.noReset);
    ports.openLive();
    watch.begin();

    BridgeReport report{.options = options};
    const PortLosses portLosses(session, address);
    const Surroundings around{tap, tapSettings, tapLosses, portLosses, ports, watch};
    const auto begin = Clock::now();
    report.totals = carry(around, options, setting);
    report.duration = Clock::now() - begin;
    tapLosses.observe();
    report.statistics = ports.finish();
    report.lostElsewhere = around.losses();
    if (session.simulator) session.simulator->flushWires();
    report.ledger = watch.settle(report.statistics, {hostCountOf(report)});
    const bool isAccounted = tellLedger(report.ledger);
    options.json ? print(jsonOf(report)) : print(textOf(report));
    return isAccounted ? Done : DifferencesFound;
}

} // namespace orvo::host
