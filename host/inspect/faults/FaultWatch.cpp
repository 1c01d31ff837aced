// SPDX-License-Identifier: MIT
// Opening and closing the books.
#include "inspect/faults/FaultWatch.h"

#include "inspect/faults/Bookkeeping.h"

#include "base/Failure.h"
#include "device/Board.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <exception>
#include <thread>

namespace orvo::host {
namespace {

constexpr unsigned mostPorts = 4; // of a board
constexpr std::chrono::milliseconds lookPause{1};
constexpr std::chrono::seconds reportLimit{5};         // also for the first look at reports
constexpr std::chrono::milliseconds absenceShows{250}; // two reads of an empty queue take less

bool isAnyBoardGone(const SimulatorControl& simulator) {
    const auto faults = simulator.faults();
    return std::any_of(faults.begin(), faults.end(), [](const OrvoSimFault& fault) {
        return fault.injected != 0 && std::string_view(fault.kind) == "board-gone";
    });
}

std::optional<PortAddress> farEnd(PortAddress port, const std::string& wire) {
    const std::string cable = "port:";
    if (wire == "loopback") return port;
    return wire.starts_with(cable) ? PortAddress::parse(wire.substr(cable.size())) : std::nullopt;
}

OrvoSimPort growth(const OrvoSimPort& before, OrvoSimPort now) {
    now.sentFrames -= before.sentFrames;
    now.unsentFrames -= before.unsentFrames;
    now.receivedFrames -= before.receivedFrames;
    now.receiveErrors -= before.receiveErrors;
    now.ignoredFrames -= before.ignoredFrames;
    now.overflowFrames -= before.overflowFrames;
    return now;
}

InjectedFault entryOf(const OrvoSimFault& fault) {
    const PortAddress place{fault.board, fault.port};
    const bool isOnWire = fault.evidence == OrvoSimReceiveErrors || fault.evidence == OrvoSimArrivals ||
                          fault.evidence == OrvoSimLateFrames;
    const char* const direction = isOnWire ? fault.received ? " received" : " sent" : "";
    return {fault.line, fault.kind, place.text() + direction, fault.injected, fault.mustMove};
}

} // namespace

FaultWatch::FaultWatch(const BoardAccess& session, InstallationOptions options,
                       const std::vector<PortAddress>& ports)
    : session_(session), options_(std::move(options)), ports_(ports),
      exceptions_(std::uncaught_exceptions()) {
    if (!session.hasFaults) return;
    for (unsigned board = 0; board < Board::indexLimit; ++board)
        for (unsigned port = 0; port < mostPorts; ++port)
            if (const auto state = session.simulator->state({board, port}))
                openings_.push_back({{board, port}, *state});
    log_.emplace(session.installation);
    std::vector<PortAddress> all;
    for (const auto& opening : openings_) all.push_back(opening.address); // a board is reset as a whole
    messages_.emplace(*log_, all);
    if (!messages_->available())
        throw Failure("--faults needs the plug-in's messages for its account: " +
                      quoted(session.installation.root().string()) +
                      " has no log dispatcher that hands messages out; put ours into its lib64");
}

FaultWatch::~FaultWatch() {
    if (!session_.hasFaults || isSettled_ || std::uncaught_exceptions() == exceptions_) return;
    try {
        std::fputs(textOfInjections(injections()).c_str(), stderr);
    } catch (const std::exception&) { // the failure itself is worth more
    }
}

void FaultWatch::begin() const {
    if (!session_.hasFaults) return;
    const auto limit = std::chrono::steady_clock::now() + reportLimit;
    for (const auto& fault : session_.simulator->faults()) {
        const PortAddress place{fault.board, fault.port};
        if (fault.evidence != OrvoSimActionReports || std::ranges::find(ports_, place) == ports_.end())
            continue;
        while (!session_.simulator->account(place).hasActionReader &&
               std::chrono::steady_clock::now() < limit)
            std::this_thread::sleep_for(lookPause);
    }
}

void FaultWatch::end() {
    if (!session_.hasFaults) return;
    if (!session_.virtualTime && isAnyBoardGone(*session_.simulator))
        std::this_thread::sleep_for(absenceShows); // who waits for frames has met it by then
    session_.simulator->endFaults();
    const auto limit = std::chrono::steady_clock::now() + reportLimit;
    for (const auto port : ports_)
        while (session_.simulator->account(port).leftReports != 0 && std::chrono::steady_clock::now() < limit)
            std::this_thread::sleep_for(lookPause);
}

std::vector<PortBook> FaultWatch::closeBooks(const std::vector<PortStatistics>& statistics,
                                             const std::vector<HostCount>& hostCounts) const {
    std::vector<PortBook> books;
    for (const auto& [address, before] : openings_) {
        PortBook book{.address = address};
        book.far = farEnd(address, session_.simulator->wire(address));
        book.did = growth(before, session_.simulator->state(address).value_or(before));
        book.account = session_.simulator->account(address);
        for (const auto& entry : statistics)
            if (entry.port == address && !entry.lines.empty()) book.statistics = &entry;
        for (const auto& count : hostCounts)
            if (count.port == address) book.host = count;
        book.isUsed = std::ranges::find(ports_, address) != ports_.end();
        books.push_back(book);
    }
    return books;
}

std::optional<Ledger> FaultWatch::settle(const std::vector<PortStatistics>& statistics,
                                         const std::vector<HostCount>& hostCounts) {
    if (!session_.hasFaults) return std::nullopt;
    const auto ports = closeBooks(statistics, hostCounts);
    const auto faults = session_.simulator->faults();
    const Books books{faults, ports, *messages_};
    auto ledger = injections();
    ledger.movements = movementsOf(books);
    ledger.statements = statementsOf(books);
    isSettled_ = true;
    return ledger;
}

Ledger FaultWatch::injections() const {
    Ledger ledger{options_.faults, options_.seed, {}, {}, {}};
    const auto faults = session_.simulator->faults();
    std::transform(faults.begin(), faults.end(), std::back_inserter(ledger.faults), entryOf);
    return ledger;
}

bool tellLedger(const std::optional<Ledger>& ledger) {
    if (!ledger) return true;
    std::fputs(textOf(*ledger).c_str(), stderr);
    return ledger->passed();
}

} // namespace orvo::host
