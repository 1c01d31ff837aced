// SPDX-License-Identifier: MIT
// Distributes a script's faults to the parts of the board that they concern, and reads the accounts.
#include "board/BoardFaults.h"

#include "board/Board.h"

#include <algorithm>

namespace orvo::sim {

namespace {

template <class Fits>
std::vector<ScriptedFault*> those(const std::vector<ScriptedFault*>& faults, Fits fits) {
    std::vector<ScriptedFault*> found;
    std::copy_if(faults.begin(), faults.end(), std::back_inserter(found),
                 [&](const ScriptedFault* fault) { return fits(*fault); });
    return found;
}

std::vector<ScriptedFault*> at(FaultPoint point, const std::vector<ScriptedFault*>& faults) {
    return those(faults, [point](const ScriptedFault& fault) { return fault.spec().kind->point == point; });
}

bool isOnWire(const ScriptedFault& fault, bool received) noexcept {
    const auto point = fault.spec().kind->point;
    return (point == FaultPoint::Frame || point == FaultPoint::Arrival) && fault.spec().received == received;
}

constexpr Access addressOf(Register base, unsigned port) noexcept {
    return static_cast<std::uint32_t>(base) | port << portShift;
}

} // namespace

BoardFaults::BoardFaults(Board& board, const std::vector<ScriptedFault*>& faults)
    : board_(board), faults_(faults),
      armed_(those(faults, [](const ScriptedFault& fault) { return !fault.spec().when.armedBy.empty(); })),
      events_(board, at(FaultPoint::SentOrTime, faults)) {
    for (unsigned port = 0; port < board.ports().size(); ++port)
        ports_[port] = makePort(
            port, those(faults, [port](const ScriptedFault& f) { return f.spec().place.port == port; }));
}

std::unique_ptr<BoardFaults::PortFaults> BoardFaults::makePort(unsigned port,
                                                               const std::vector<ScriptedFault*>& faults) {
    const auto counting = those(at(FaultPoint::SentOrTime, faults),
                                [](const ScriptedFault& fault) { return !fault.isTimed(); });
    Port& place = board_.ports()[port];
    // NOLINTNEXTLINE(modernize-make-unique): an aggregate that cannot move
    return std::unique_ptr<PortFaults>(new PortFaults{
        WireFaults(those(faults, [](const ScriptedFault& f) { return isOnWire(f, false); }), counting),
        WireFaults(those(faults, [](const ScriptedFault& f) { return isOnWire(f, true); }), {}),
        QueueFaults(at(FaultPoint::Reception, faults), place.receiveQueue()),
        PhyFaults(at(FaultPoint::PhyReset, faults)), place.receiver().queuedFrames(),
        place.phy().linkLosses(), place.phy().linkDownTime(simClock.now()), 0});
}

std::vector<AccessFaults::Row> BoardFaults::accessRows() const {
    std::vector<AccessFaults::Row> rows;
    for (ScriptedFault* const fault : faults_) {
        const auto& spec = fault->spec();
        if (spec.kind->point == FaultPoint::Busy)
            rows.push_back({addressOf(Register::GigeTxTransferActive, spec.place.port), fault});
        if (spec.kind->point == FaultPoint::MdioRead)
            rows.push_back({static_cast<std::uint32_t>(Register::MdioReadReg), fault});
        if (spec.kind->point == FaultPoint::Register)
            rows.push_back({board_.firmware().addressOf(spec.registerName), fault});
    }
    return rows;
}

void BoardFaults::noteWrite(std::uint32_t address, std::uint64_t value, bool isRefused) noexcept {
    const unsigned port = portOf(address);
    if (isRefused && address == addressOf(Register::GigeWriteComplete, port) && ports_[port])
        ports_[port]->refused.fetch_add(1);
    for (ScriptedFault* const fault : armed_) fault->noteWrite(address, value, simClock.now());
}

bool BoardFaults::isOver() {
    return std::ranges::all_of(faults_, [](const ScriptedFault* fault) { return fault->isOver(); }) &&
           events_.isSettled() &&
           std::ranges::all_of(ports_, [](const auto& port) { return !port || port->queue.isSettled(); });
}

void BoardFaults::catchUp(unsigned port) {
    auto& faults = *ports_[port];
    Port& place = board_.ports()[port];
    if (isOver())
        faults.queue.catchUp(place.receiver().queuedFrames() - faults.queuedBefore, place.receiveQueue());
}

void BoardFaults::noteClear(unsigned port) {
    auto& faults = *ports_[port];
    faults.queue.cleared(board_.ports()[port].receiver().queuedFrames() - faults.queuedBefore);
}

void BoardFaults::end() {
    for (ScriptedFault* const fault : faults_) fault->end();
    events_.end();
    const std::lock_guard lock(benchMutex);
    for (Port& port : board_.ports()) port.releaseFrames();
}

void BoardFaults::account(unsigned port, OrvoSimPortAccount& out) noexcept {
    auto& faults = *ports_[port];
    Port& place = board_.ports()[port];
    out.refusedFrames = faults.refused.load();
    out.sentPassed = faults.sent.passedFrames();
    out.sentLost = faults.sent.lostFrames();
    out.sentAdded = faults.sent.addedFrames();
    out.sentHeld = faults.sent.heldFrames();
    out.receivedLost = faults.received.lostFrames();
    out.receivedAdded = faults.received.addedFrames();
    out.receivedHeld = faults.received.heldFrames();
    out.takenFrames = faults.queue.taken();
    out.failedFrames = faults.queue.failed();
    out.clearedFrames = faults.queue.dropped();
    const auto queued = place.receiver().queuedFrames() - faults.queuedBefore;
    out.leftFrames = queued - std::min(queued, out.takenFrames + out.clearedFrames);
    const SimTime down = place.phy().linkDownTime(simClock.now()) - faults.downBefore;
    out.linkLosses = place.phy().linkLosses() - faults.lossesBefore;
    out.linkDownMicroseconds =
        static_cast<std::uint64_t>(std::chrono::floor<std::chrono::microseconds>(down).count());
    out.leftReports = place.actionQueue().words();
    out.hasActionReader = events_.hasListener(port) ? 1 : 0;
}

} // namespace orvo::sim
