// The order of a bridge: the TAP is had before the board is touched, and its link goes up when the port can
// carry frames.
#include "commands/BridgeCommand.h"

#include "app/Failure.h"
#include "app/Notice.h"
#include "app/Output.h"
#include "app/Progress.h"
#include "app/Signals.h"
#include "board/Board.h"
#include "board/Session.h"
#include "commands/Ports.h"
#include "faults/FaultWatch.h"
#include "network/NetworkNamespace.h"
#include "network/TapDevice.h"
#include "traffic/Bridge.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <chrono>
#include <numeric>

namespace orvo::host {
namespace {

using Clock = std::chrono::steady_clock;

std::string progressText(const BridgeTotals& totals) {
    return fmt::format("to the port {} ({:.1f} MB), to the TAP {} ({:.1f} MB), dropped {}",
                       grouped(totals.toPort.frames), static_cast<double>(totals.toPort.bytes) / 1e6,
                       grouped(totals.toTap.frames), static_cast<double>(totals.toTap.bytes) / 1e6,
                       grouped(totals.droppedFrames()));
}

struct BridgeReport {
    const BridgeOptions& options;
    BridgeTotals totals = {};
    std::uint32_t unreadFrames = 0; ///< that the TAP's own queue had no room for
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
    Drops drops;
    for (std::size_t i = 0; i < dropReasonCount; ++i)
        drops.add(std::string("of the TAP ") + textOf(static_cast<DropReason>(i)), totals.unsendable[i]);
    drops.add("of the host for which the TAP's queue had no room", unreadFrames);
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

void configureTap(const BridgeOptions& options) {
    if (options.address) setAddress(options.tap, *options.address, options.addressText);
    if (options.setUp || options.address) setLinkUp(options.tap);
}

Session openSession(const BridgeOptions& options, const BridgeSetting& setting) {
    std::optional<NamespaceVisit> there;
    if (setting.wires) there.emplace(*setting.wires);
    return Session(options.installation, options.port.address.board);
}

void tellReady(const BridgeOptions& options, const BridgeSetting& setting) {
    if (endRequested() != 0) return;
    if (setting.ready) return setting.ready();
    notice("port " + options.port.address.text() + " and " + options.tap + " are bridged; end with Ctrl-C");
}

BridgeTotals carry(TapDevice& tap, Ports& ports, const BridgeOptions& options, const BridgeSetting& setting,
                   FaultWatch& watch) {
    const auto reconfigureTap = [&options] {
        try {
            configureTap(options);
        } catch (const Failure& error) {
            notice(error.what());
        }
    };
    Bridge bridge(ports.at(options.port.address).interface(), tap,
                  {.tell = notice, .tapReturned = reconfigureTap, .ending = [&] {
                       watch.end();
                       ports.stop();
                   }});
    tellReady(options, setting);
    std::optional<Progress> progress;
    if (!setting.ready) progress.emplace([&] { return progressText(bridge.totals()); });
    bridge.run();
    return bridge.totals();
}

} // namespace

BridgeCommand::BridgeCommand(CLI::App& program)
    : Command(program, "bridge", "Make a port a network interface, until interrupted") {
    line()
        .add_option("--tap", options_.tap, "TAP to make, or to take when there is one of this name")
        ->required()
        ->type_name("NAME");
    line().add_flag("--up", options_.setUp, "Set the TAP's link up");
    line()
        .add_option_function<std::string>(
            "--address",
            [this](const std::string& text) {
                options_.addressText = text;
                options_.address = NetworkAddress::parse(text);
                if (!options_.address)
                    throw CLI::ValidationError("--address",
                                               "'" + text +
                                                   "' is not of the form ADDRESS/PREFIX, such as "
                                                   "192.168.7.1/24 or fd00::1/64");
            },
            "Give the TAP an IP address, and set its link up")
        ->type_name("A/N");
    options_.port.addTo(line());
    options_.installation.addTo(line());
    options_.installation.addFaultsTo(line());
    line().add_flag("--json", options_.json, "Print the report as JSON");
}

int BridgeCommand::run() {
    return runBridge(options_);
}

int runBridge(const BridgeOptions& options, const BridgeSetting& setting) {
    options.installation.requireRealTime();
    const auto address = options.port.address;
    TapDevice tap(options.tap);
    const auto unreadBefore = unsentFrames(options.tap);
    configureTap(options);
    const auto session = openSession(options, setting);
    requireFrameRegisters(session.libraries, address);
    FaultWatch watch(session, options.installation, {address});
    Ports ports(session, {address}, !options.port.noReset);
    ports.openLive();

    BridgeReport report{.options = options};
    const auto begin = Clock::now();
    report.totals = carry(tap, ports, options, setting, watch);
    report.duration = Clock::now() - begin;
    if (const auto unread = unsentFrames(options.tap); unread && unreadBefore)
        report.unreadFrames = *unread - *unreadBefore;
    report.statistics = ports.finish();
    if (session.simulator) session.simulator->flushWires();
    report.ledger = watch.settle(report.statistics, {hostCountOf(report)});
    options.json ? print(jsonOf(report)) : print(textOf(report));
    return tellLedger(report.ledger) ? Done : DifferencesFound;
}

} // namespace orvo::host
