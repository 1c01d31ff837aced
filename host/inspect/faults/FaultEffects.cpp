// SPDX-License-Identifier: MIT
// Which counter or message shows which fault.
#include "inspect/faults/RunCounts.h"

#include <algorithm>
#include <set>

namespace orvo::host {
namespace {

/// The port whose counters show the fault; nothing where the wire leads out of the simulation.
std::optional<PortAddress> placeOf(const RunCounts& run, const OrvoSimFault& fault) {
    const PortAddress own{fault.board, fault.port};
    return isOfWire(fault) && !fault.received ? std::ranges::find(run.ports, own, &PortCounts::address)->far
                                              : own;
}

/// How far the counter or message moved; nothing where this command cannot see it.
std::optional<std::uint64_t> movedAt(const RunCounts& run, const PortCounts& port,
                                     const OrvoSimFault& fault) {
    const auto logged = [&](CountedMessage message) { return run.messages.count(port.address, message); };
    switch (fault.evidence) {
    case OrvoSimReceiveErrors:
        return port.board.receiveErrors;
    case OrvoSimLateFrames:
        return port.host.late;
    case OrvoSimOverflows:
        return port.board.overflowFrames;
    case OrvoSimZeroSizes:
    case OrvoSimInvalidSizes:
    case OrvoSimInvalidEnds:
    case OrvoSimReadErrors: // named as in the plug-in's statistics
        return port.statistics ? port.statistics->figure(fault.mustMove) : std::nullopt;
    case OrvoSimStillBusy:
        return logged(CountedMessage::StillBusy);
    case OrvoSimUnexpectedValue:
        return logged(CountedMessage::UnexpectedValue);
    case OrvoSimStillInReset:
        return logged(CountedMessage::StillInReset);
    case OrvoSimActionReports:
        return logged(CountedMessage::ActionReport);
    case OrvoSimLinkDownTime:
        return port.account.linkDownMicroseconds;
    case OrvoSimLinkLosses:
        return port.account.linkLosses;
    case OrvoSimArrivals:
    case OrvoSimNoEvidence:
        break;
    }
    return std::nullopt;
}

/// Each injection moves the counter by exactly one, and nothing but a fault moves it.
bool isExact(OrvoSimEvidence evidence) noexcept {
    return evidence == OrvoSimZeroSizes || evidence == OrvoSimInvalidSizes ||
           evidence == OrvoSimInvalidEnds || evidence == OrvoSimUnexpectedValue ||
           evidence == OrvoSimActionReports;
}

/// All faults at a port that move the same as `fault`, against how far that moved.
Balance injectionBalance(const RunCounts& run, const PortCounts& port, const OrvoSimFault& fault) {
    const bool areReports = fault.evidence == OrvoSimActionReports; // of which one fault makes several
    std::uint64_t injected = 0;
    for (const auto& other : run.faults)
        if (other.evidence == fault.evidence && PortAddress{other.board, other.port} == port.address)
            injected += areReports ? other.effects : other.injected;
    const auto counted = movedAt(run, port, fault);
    Balance balance{port.address.text() + " " + fault.mustMove,
                    {{"injected", injected}},
                    {{"counted", counted.value_or(0)}}};
    if (areReports) balance.parts.push_back({"left in their queue", port.account.leftReports});
    if (!counted && injected != 0) balance.missing = fault.mustMove;
    return balance;
}

} // namespace

void addEffects(const RunCounts& run, Ledger& ledger) {
    std::set<std::string> told;
    for (const auto& fault : run.faults) {
        if (fault.evidence == OrvoSimNoEvidence || fault.evidence == OrvoSimArrivals)
            continue; // the balances of the wires have lost and doubled frames
        const auto place = placeOf(run, fault);
        const auto where = place.value_or(PortAddress{fault.board, fault.port});
        if (!told.insert(where.text() + fault.mustMove).second) continue;
        const auto& port = *std::ranges::find(run.ports, where, &PortCounts::address);
        if (isExact(fault.evidence))
            ledger.balances.push_back(injectionBalance(run, port, fault));
        else
            ledger.movements.push_back(
                {fault.mustMove, where, place ? movedAt(run, port, fault) : std::nullopt});
    }
}

} // namespace orvo::host
