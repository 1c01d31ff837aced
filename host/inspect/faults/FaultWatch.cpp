// SPDX-License-Identifier: MIT
#include "inspect/faults/FaultWatch.h"

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
constexpr std::chrono::milliseconds pollPause{1};
constexpr std::chrono::seconds reportLimit{5};          // for action command reports to be read
constexpr std::chrono::milliseconds drainPatience{300}; // with a queue that nobody reads, or a failed read

/// Returns early when `isDone`.
template <class Condition> void waitUntil(const Condition& isDone) {
    const auto limit = std::chrono::steady_clock::now() + reportLimit;
    while (!isDone() && std::chrono::steady_clock::now() < limit) std::this_thread::sleep_for(pollPause);
}

/// Returns when the port's receive queue is empty, or nobody reads it.
void awaitDrained(const SimulatorControl& simulator, PortAddress port) {
    const auto words = [&] { return simulator.state(port).value_or(OrvoSimPort{}).queuedWords; };
    auto left = words();
    for (auto last = std::chrono::steady_clock::now();
         left != 0 && std::chrono::steady_clock::now() - last < drainPatience;) {
        std::this_thread::sleep_for(pollPause);
        const auto now = words();
        if (now < left) last = std::chrono::steady_clock::now();
        left = now;
    }
}

OrvoSimPort growth(const OrvoSimPort& before, OrvoSimPort now) {
    for (const auto field :
         {&OrvoSimPort::sentFrames, &OrvoSimPort::unsentFrames, &OrvoSimPort::receivedFrames,
          &OrvoSimPort::receiveErrors, &OrvoSimPort::ignoredFrames, &OrvoSimPort::overflowFrames})
        now.*field -= before.*field;
    return now;
}

} // namespace

FaultWatch::FaultWatch(const BoardAccess& access, BoardOptions options, std::vector<PortAddress> ports)
    : access_(access), options_(std::move(options)), ports_(std::move(ports)),
      exceptionsBefore_(std::uncaught_exceptions()) {
    if (!access.hasFaults) return;
    for (unsigned board = 0; board < Board::indexLimit; ++board)
        for (unsigned port = 0; port < mostPorts; ++port)
            if (const auto state = access.simulator->state({board, port}))
                before_.push_back({{board, port}, *state});
    log_.emplace(access.installation);
    std::vector<PortAddress> all;
    for (const auto& port : before_) all.push_back(port.address); // a board is reset as a whole
    messages_.emplace(*log_, all);
    if (!messages_->available())
        throw Failure("--faults needs the plug-in's messages for its account: " +
                      quoted(access.installation.root().string()) +
                      " has no log dispatcher that hands messages out; put ours into its lib64");
}

FaultWatch::~FaultWatch() {
    if (!access_.hasFaults || isSettled_ || std::uncaught_exceptions() == exceptionsBefore_) return;
    try {
        std::fputs(injectionsText(injections()).c_str(), stderr);
    } catch (const std::exception&) { // the failure that ended the run matters more
    }
}

void FaultWatch::begin() const {
    if (!access_.hasFaults) return;
    for (const auto& fault : access_.simulator->faults()) {
        const PortAddress place{fault.board, fault.port};
        if (fault.evidence == OrvoSimActionReports && std::ranges::find(ports_, place) != ports_.end())
            waitUntil([&] { return access_.simulator->account(place).hasActionReader != 0; });
    }
}

void FaultWatch::end() {
    if (!access_.hasFaults) return;
    for (const auto port : ports_) awaitDrained(*access_.simulator, port); // what is read with a fault
    access_.simulator->endFaults();
    for (const auto port : ports_)
        waitUntil([&] { return access_.simulator->account(port).leftReports == 0; });
}

std::vector<PortCounts> FaultWatch::countsOf(const std::vector<PortStatistics>& statistics,
                                             const std::vector<HostCount>& hostCounts) const {
    std::vector<PortCounts> all;
    for (const auto& [address, before] : before_) {
        PortCounts port{.address = address};
        port.far = access_.simulator->farEnd(address);
        port.board = growth(before, access_.simulator->state(address).value_or(before));
        port.account = access_.simulator->account(address);
        for (const auto& entry : statistics)
            if (entry.port == address && !entry.lines.empty()) port.statistics = &entry;
        for (const auto& count : hostCounts)
            if (count.port == address) port.host = count;
        all.push_back(port);
    }
    return all;
}

std::optional<Ledger> FaultWatch::settle(const std::vector<PortStatistics>& statistics,
                                         const std::vector<HostCount>& hostCounts) {
    if (!access_.hasFaults) return std::nullopt;
    const auto ports = countsOf(statistics, hostCounts);
    auto ledger = injections();
    const RunCounts run{ledger.faults, ports, *messages_};
    addEffects(run, ledger);
    addFrameBalances(run, ledger);
    isSettled_ = true;
    return ledger;
}

Ledger FaultWatch::injections() const {
    return {options_.faults, options_.seed, access_.simulator->faults(), {}, {}};
}

bool printLedger(const std::optional<Ledger>& ledger) {
    if (!ledger) return true;
    std::fputs(ledgerText(*ledger).c_str(), stderr);
    return ledger->passed();
}

} // namespace orvo::host
