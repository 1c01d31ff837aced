// SPDX-License-Identifier: MIT
// Pulling cables, taking the board away and reporting time-outs, by script.
#include "board/EventFaults.h"

#include "board/Board.h"
#include "board/Cabling.h"

#include <algorithm>

namespace orvo::sim {

EventFaults::EventFaults(Board& board, const std::vector<ScriptedFault*>& faults) : board_(board) {
    for (ScriptedFault* const fault : faults) rows_.push_back({fault});
}

void EventFaults::pass() {
    if (rows_.empty()) return;
    const std::lock_guard lock(mutex_);
    const SimTime now = simClock.now(); // read under the lock, for which a thread may have waited long
    for (Row& row : rows_) pass(row, now);
}

void EventFaults::pass(Row& row, SimTime now) {
    if (row.isUnderWay && now >= row.until) finish(row, row.until);
    if (row.fault->isDue(now)) row.isDue = true;
    if (!row.isDue || row.isUnderWay || !tryBegin(row)) return;
    row.isDue = false;
    row.fault->countInjection(now);
    row.isUnderWay = row.fault->kind() != FaultKind::ActionStorm;
    row.until = later(now, row.fault->spec().duration);
}

bool EventFaults::tryBegin(Row& row) {
    switch (row.fault->kind()) {
    case FaultKind::LinkFlap:
        return beginFlap(row);
    case FaultKind::BoardGone:
        return beginAbsence();
    default:
        if (!hasListener(row.fault->spec().place.port)) return false;
        storm(*row.fault);
        return true;
    }
}

/// The board or cable counts as back from the end of its time on, even if the host looks later.
void EventFaults::finish(Row& row, SimTime since) {
    row.isUnderWay = false;
    if (row.fault->kind() == FaultKind::BoardGone) {
        board_.setPresent(true, since);
        return;
    }
    const std::lock_guard lock(benchMutex);
    setPartner(board_.ports()[row.fault->spec().place.port], row.partner, since);
}

/// Only a link that is up can go down.
bool EventFaults::beginFlap(Row& row) {
    const std::lock_guard lock(benchMutex);
    Port& port = board_.ports()[row.fault->spec().place.port];
    if (!port.phy().isLinkUp(simClock.now())) return false;
    row.partner = port.cabling().partner;
    setPartner(port, OrvoSimPartnerDown, simClock.now());
    return true;
}

bool EventFaults::beginAbsence() {
    if (!board_.isPresent()) return false;
    board_.setPresent(false, simClock.now());
    return true;
}

void EventFaults::storm(ScriptedFault& fault) {
    DataQueue& queue = board_.ports()[fault.spec().place.port].actionQueue();
    std::uint64_t queued = 0;
    for (std::uint32_t report = 0; report < fault.spec().reports; ++report) {
        const std::uint32_t word = endOfTransmission | (report & 0xFFFF);
        if (queue.push({&word, 1})) ++queued;
    }
    fault.countEffects(queued);
}

bool EventFaults::isSettled() {
    const std::lock_guard lock(mutex_);
    return std::ranges::none_of(rows_, [](const Row& row) { return row.isDue || row.isUnderWay; });
}

void EventFaults::end() {
    const std::lock_guard lock(mutex_);
    for (Row& row : rows_) {
        row.isDue = false;
        if (row.isUnderWay) finish(row, simClock.now());
    }
}

} // namespace orvo::sim
