// SPDX-License-Identifier: MIT
#include "traffic/ResetRun.h"

#include "base/Numbers.h"
#include "base/Progress.h"
#include "base/Signals.h"
#include "device/Phy.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

namespace orvo::host {
namespace {

void reset(const BoardAccess& access, TrafficRun& traffic, ResetReport& report) {
    report.before = readLink(access, report.port);
    const auto start = access.seconds();
    {
        const SignalShield noShortSleeps;
        traffic.port(report.port).forceReset();
    }
    const auto afterReset = access.seconds();
    throwIfEndRequested();
    tryWaitForLink(access, report.port);
    report.resetSeconds = afterReset - start;
    report.linkSeconds = access.seconds() - afterReset;
    report.after = readLink(access, report.port);
}

const char* afterwards(const ResetReport& report) {
    if (report.after == Link::Up) return report.before == Link::Up ? "link up again" : "link up";
    return report.after == Link::Down ? "link still down" : "link unknown";
}

} // namespace

ResetReport resetPort(const BoardOptions& boards, PortAddress port) {
    const BoardAccess access(boards, port.board);
    requirePhyRegisters(access.libraries, port);
    TrafficRun traffic(access, boards, {port}, false);
    const Progress progress([&] { return "resetting port " + port.text() + " (takes about 2 s)"; });
    traffic.openAlone(port);
    ResetReport report{.port = port};
    reset(access, traffic, report);
    traffic.endFaults();
    report.account = traffic.finish({{.port = port}});
    return report;
}

std::string resetText(const ResetReport& report) {
    return fmt::format("port {}: link was {}; reset took {:.1f} s; {} after {:.1f} s\n", report.port.text(),
                       linkText(report.before), report.resetSeconds, afterwards(report), report.linkSeconds);
}

nlohmann::ordered_json resetJson(const ResetReport& report) {
    nlohmann::ordered_json document = {{"port", report.port.text()},
                                       {"linkBefore", linkText(report.before)},
                                       {"resetSeconds", wholeMilliseconds(report.resetSeconds)},
                                       {"linkAfter", linkText(report.after)},
                                       {"linkSeconds", wholeMilliseconds(report.linkSeconds)}};
    if (report.account.ledger) document["faults"] = ledgerJson(*report.account.ledger);
    return document;
}

} // namespace orvo::host
