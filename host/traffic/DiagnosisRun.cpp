// SPDX-License-Identifier: MIT
#include "traffic/DiagnosisRun.h"

#include "base/Failure.h"
#include "base/Progress.h"
#include "base/Signals.h"
#include "device/Phy.h"
#include "inspect/diagnosis/Diagnosis.h"
#include "traffic/Observation.h"

namespace orvo::host {
namespace {

/// Whether the link was down since the last reading: the PHY latches that (IEEE 802.3 clause 22, bit 1.2),
/// and reading it makes the next reading show the present.
bool wasLinkDown(const BoardAccess& access, PortAddress port) {
    auto mdio = MdioMaster::at(access.libraries, port.board);
    const auto status = mdio ? mdio->read(port.port, phyStatusRegister) : std::nullopt;
    return status && !hasLink(*status);
}

std::vector<std::string> readDump(core::zume::PhysicalNetworkInterface& port, const PluginLog& log) {
    LogCollector report(log, DetailLevel);
    {
        const SignalShield noShortSleeps;
        port.triggerDebugOutput();
    }
    auto lines = report.takeAll(); // before an interruption, or the collector would print them
    throwIfEndRequested();
    return lines;
}

} // namespace

Diagnosed diagnose(const BoardAccess& access, const BoardOptions& options, PortAddress port,
                   Observation* observation) {
    std::optional<Progress> progress; // ends before the observation shows its own
    progress.emplace([&] { return "diagnosing port " + port.text() + " (takes about 5 s)"; });
    const PluginLog log(access.installation);
    if (!log.available())
        throw Failure("the report cannot be read: " + quoted(access.installation.root().string()) +
                      " has no log dispatcher that hands messages out; put ours into its lib64");
    requirePhyRegisters(access.libraries, port);
    TrafficRun traffic(access, options, {port}, false);
    auto& interface = traffic.port(port);
    traffic.openAlone(port);
    FrameReceiver receiver(interface, nullptr, nullptr); // ends before the port
    if (observation) observation->begin(receiver);
    const bool wasDown = wasLinkDown(access, port);
    auto dump = readDump(interface, log);
    const auto report = DumpReport::parse(dump, port.text());
    traffic.endFaults();
    progress.reset();
    if (observation) observation->goOn(interface, receiver);
    auto document = diagnosisOf(report, port.text(), wasDown,
                                observation ? observation->findings() : std::vector<Finding>());
    auto account =
        traffic.finish({{.port = port, .received = observation ? observation->receivedFrames() : 0}});
    return {std::move(document), std::move(dump), std::move(account)};
}

} // namespace orvo::host
