// SPDX-License-Identifier: MIT
// Forced reset of one port, timed, with the link before and after.
#include "commands/ResetCommand.h"

#include "base/Failure.h"
#include "base/Output.h"
#include "base/Progress.h"
#include "base/Signals.h"
#include "device/Board.h"
#include "device/BoardAccess.h"
#include "device/LinkWait.h"
#include "device/Phy.h"
#include "device/Port.h"
#include "inspect/faults/FaultWatch.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <chrono>

namespace orvo::host {
namespace {

struct ResetOutcome {
    Link before = Link::Unknown;
    Link after = Link::Unknown;
    double resetSeconds = 0;
    double linkSeconds = 0; // from the end of the reset to the link, or to giving up
};

Link linkOf(const BoardAccess& session, PortAddress port) {
    const auto board = Board::at(session.libraries, port.board);
    auto mdio = board ? MdioMaster::of(*board) : std::nullopt;
    return mdio ? readLink(*mdio, port.port) : Link::Unknown;
}

ResetOutcome resetPort(const BoardAccess& session, Port& port) {
    const auto address = port.address();
    ResetOutcome outcome{.before = linkOf(session, address)};
    const auto start = session.seconds();
    {
        const SignalShield noShortSleeps;
        port.interface().forceReset();
    }
    const auto afterReset = session.seconds();
    throwIfEndRequested();
    tryWaitForLink(session, address);
    outcome.resetSeconds = afterReset - start;
    outcome.linkSeconds = session.seconds() - afterReset;
    outcome.after = linkOf(session, address);
    return outcome;
}

nlohmann::ordered_json jsonOf(const ResetOutcome& outcome, PortAddress address,
                              const std::optional<Ledger>& ledger) {
    nlohmann::ordered_json document = {{"port", address.text()},
                                       {"linkBefore", textOf(outcome.before)},
                                       {"resetSeconds", outcome.resetSeconds},
                                       {"linkAfter", textOf(outcome.after)},
                                       {"linkSeconds", outcome.linkSeconds}};
    if (ledger) document["faults"] = jsonOf(*ledger);
    return document;
}

} // namespace

ResetCommand::ResetCommand(Program& program)
    : Command(program, "reset", "Reset the PHY of a port, and wait for its link") {
    addAddressTo(line(), port_);
    addTo(line(), installation_);
    addFaultsTo(line(), installation_);
    line().flag("--json", json_, "Print JSON instead of text");
}

int ResetCommand::run() {
    const auto address = port_;
    const BoardAccess session(installation_, address.board);
    requirePhyRegisters(session.libraries, address);
    FaultWatch watch(session, installation_, {address});
    const PluginLog log(session.installation);
    Plugin plugin(session.installation);
    Port port(plugin, log, address, false);
    ResetOutcome outcome;
    std::vector<PortStatistics> statistics;
    {
        const Progress progress([&] { return "resetting port " + address.text() + " (takes about 2 s)"; });
        port.open();
        watch.begin();
        outcome = resetPort(session, port);
        watch.end();
        statistics.push_back({address, port.finish()});
    }
    const auto ledger = watch.settle(statistics, {{.port = address}});
    const bool isAccounted = tellLedger(ledger);
    if (json_)
        print(jsonOf(outcome, address, ledger));
    else
        print(fmt::format("port {}: link {} before, reset took {:.1f} s, link {} after {:.1f} s more\n",
                          address.text(), textOf(outcome.before), outcome.resetSeconds, textOf(outcome.after),
                          outcome.linkSeconds));
    if (!isAccounted) return DifferencesFound;
    if (outcome.before == Link::Up && outcome.after != Link::Up)
        throw Failure(
            fmt::format("port {} lost its link by the reset; check the cable and the far end, and reset "
                        "again",
                        address.text()));
    return Done;
}

} // namespace orvo::host
