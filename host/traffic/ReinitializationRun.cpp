// SPDX-License-Identifier: MIT
#include "traffic/ReinitializationRun.h"

#include "base/ChildProcess.h"
#include "base/Failure.h"
#include "base/Numbers.h"
#include "base/Output.h"
#include "base/Signals.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

namespace orvo::host {
namespace {

/// How long `work` took on the board's clock.
template <class Work> double timed(const BoardAccess& access, const Work& work) {
    const auto begin = access.seconds();
    work();
    return access.seconds() - begin;
}

void run(const std::vector<std::string>& command, ReinitializationReport& report) {
    try {
        auto child = startProgram(command);
        awaitChild(child);
        report.exitCode = *child.exitCode;
    } catch (const Failure& error) { // the device is opened again all the same
        notice(error.what());
        report.exitCode = Failed;
    }
}

void reopen(Port& port, ReinitializationReport& report) {
    DeviceReopening reopening(port);
    while (!reopening.attempt()) {
        throwIfEndRequested();
        awaitEndRequest(DeviceReopening::pause);
        throwIfEndRequested();
    }
    report.attempts = reopening.attempts();
}

} // namespace

bool DeviceReopening::attempt() {
    ++attempts_;
    const auto reason = port_.reopenDevice();
    if (reason && *reason != reason_) notice(*reason);
    reason_ = reason.value_or("");
    return !reason;
}

ReinitializationReport reinitializePort(const BoardOptions& boards, PortAddress port,
                                        const std::vector<std::string>& command) {
    if (!command.empty() && !isProgram(command[0]))
        throw Failure("there is no program " + host::quoted(command[0]) + "; name another one after --");
    const BoardAccess access(boards, port.board);
    TrafficRun traffic(access, boards, {port}, false);
    traffic.openAlone(port);
    throwIfEndRequested();
    auto& device = traffic.device(port);
    ReinitializationReport report{.port = port, .command = command};
    report.releaseSeconds = timed(access, [&] { device.releaseDevice(); });
    notice("port " + port.text() + ": the device is released");
    if (!command.empty()) report.commandSeconds = timed(access, [&] { run(command, report); });
    report.reopenSeconds = timed(access, [&] { reopen(device, report); });
    throwIfEndRequested();
    traffic.endFaults();
    report.account = traffic.finish({{.port = port}});
    return report;
}

std::string reinitializationText(const ReinitializationReport& report) {
    const auto command =
        report.command.empty()
            ? std::string()
            : fmt::format(", {} took {:.3f} s", host::quoted(report.command[0]), report.commandSeconds);
    return fmt::format("port {}: released in {:.3f} s{}, opened again in {:.3f} s ({})\n", report.port.text(),
                       report.releaseSeconds, command, report.reopenSeconds,
                       counted(report.attempts, "attempt"));
}

nlohmann::ordered_json reinitializationJson(const ReinitializationReport& report) {
    nlohmann::ordered_json document = {{"port", report.port.text()},
                                       {"releaseSeconds", wholeMilliseconds(report.releaseSeconds)}};
    if (!report.command.empty())
        document["command"] = {{"arguments", report.command},
                               {"seconds", wholeMilliseconds(report.commandSeconds)},
                               {"exitCode", report.exitCode}};
    document["reopenSeconds"] = wholeMilliseconds(report.reopenSeconds);
    document["attempts"] = report.attempts;
    if (report.account.ledger) document["faults"] = ledgerJson(*report.account.ledger);
    return document;
}

} // namespace orvo::host
