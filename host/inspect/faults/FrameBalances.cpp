// SPDX-License-Identifier: MIT
// The account of every frame: host, plug-in and board, port by port.
#include "inspect/faults/RunCounts.h"

#include <algorithm>

namespace orvo::host {
namespace {

using Balances = std::vector<Balance>;
using Parts = std::vector<Balance::Part>;

/// Where the frames went that the plug-in sent.
Parts boardParts(const PortCounts& port) {
    return {{"put on the wire", port.board.sentFrames},
            {"without link or transmitter", port.board.unsentFrames},
            {"to a board that did not answer", port.account.refusedFrames}};
}

void addSent(const RunCounts& run, const PortCounts& port, Balances& balances) {
    if (!port.host.handed) return;
    const auto place = port.address.text();
    const auto sent = port.statistics ? port.statistics->frames("Send") : std::nullopt;
    balances.push_back({place + " plug-in", {{"sent", sent.value_or(0)}}, boardParts(port)});
    if (!sent) balances.back().missing = "Send";
    const auto dropped = [&](CountedMessage message) { return run.messages.count(port.address, message); };
    auto parts = boardParts(port);
    parts.push_back({"too large", dropped(CountedMessage::TooLarge)});
    parts.push_back({"with an unexpected busy flag", dropped(CountedMessage::UnexpectedValue)});
    parts.push_back({"with the transmitter still busy", dropped(CountedMessage::StillBusy)});
    parts.push_back({"while the device was released", dropped(CountedMessage::Released)});
    parts.push_back({"behind other senders", dropped(CountedMessage::KeptBusy)});
    balances.push_back({place + " sent", {{"handed over", *port.host.handed}}, std::move(parts)});
}

/// Where the wire leads out of the simulation, nobody counts arrivals: the account ends on the wire.
void addWireToOutside(const PortCounts& port, Balances& balances) {
    const auto& account = port.account;
    if (account.sentPassed + account.sentLost + account.sentHeld == 0) return; // no fault sees its frames
    balances.push_back(
        {port.address.text() + " wire",
         {{"left", port.board.sentFrames}, {"doubled", account.sentAdded}},
         {{"on the wire", account.sentPassed}, {"lost", account.sentLost}, {"held back", account.sentHeld}}});
}

void addWire(const RunCounts& run, const PortCounts& port, Balances& balances) {
    if (!port.far) return addWireToOutside(port, balances);
    const auto far = std::ranges::find(run.ports, *port.far, &PortCounts::address);
    if (far == run.ports.end() || (port.board.sentFrames == 0 && far->arrived() == 0)) return;
    balances.push_back(
        {port.address.text() + " wire",
         {{"left", port.board.sentFrames}, {"doubled", port.account.sentAdded + far->account.receivedAdded}},
         {{"arrived at " + far->address.text(), far->arrived()},
          {"lost", port.account.sentLost + far->account.receivedLost},
          {"held back", port.account.sentHeld + far->account.receivedHeld}}});
}

/// What was taken from the queue: as the plug-in counted it, or as the board did where no plug-in was used.
Balance takenFrames(const PortCounts& port, std::optional<std::uint64_t> delivered) {
    Balance balance{port.address.text() + " received", {{"arrived", port.arrived()}}, {}};
    if (!delivered) {
        balance.parts = {{"taken from the queue", port.account.takenFrames}};
        if (port.host.received) balance.missing = "Recv";
        return balance;
    }
    balance.parts = {{"delivered", *delivered}};
    for (const auto& [name, counter] :
         {std::pair{"of size zero", "zerosize transmissions"}, std::pair{"without end flag", "invalid EOTs"},
          std::pair{"of wrong size", "invalid transmission sizes"}}) {
        const auto figure = port.statistics->figure(counter);
        if (!figure) balance.missing = counter;
        balance.parts.push_back({name, figure.value_or(0)});
    }
    balance.parts.push_back({"in failed reads", port.account.failedFrames});
    return balance;
}

void addReceived(const PortCounts& port, Balances& balances) {
    const auto delivered = port.statistics ? port.statistics->frames("Recv") : std::nullopt;
    auto balance = takenFrames(port, delivered);
    balance.parts.push_back({"with receive errors", port.board.receiveErrors});
    balance.parts.push_back({"while the receiver was off or without link", port.board.ignoredFrames});
    balance.parts.push_back({"without room in the queue", port.board.overflowFrames});
    balance.parts.push_back({"cleared from the queue", port.account.clearedFrames});
    balance.parts.push_back({"still in the queue", port.account.leftFrames});
    if (port.arrived() == 0 && !balance.differs()) return; // a port that was not used
    balances.push_back(std::move(balance));
    if (delivered && port.host.received)
        balances.push_back({port.address.text() + " host",
                            {{"delivered", *delivered}},
                            {{"taken by the host", *port.host.received}}});
}

} // namespace

void addFrameBalances(const RunCounts& run, Ledger& ledger) {
    for (const auto& port : run.ports) {
        addSent(run, port, ledger.balances);
        addWire(run, port, ledger.balances);
        addReceived(port, ledger.balances);
    }
}

} // namespace orvo::host
