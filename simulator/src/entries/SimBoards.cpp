// SPDX-License-Identifier: MIT
// Control entries: boards, their ports and PHYs, and the clock.
#include "entries/OwnEntries.h"
#include "process/Process.h"

#include <chrono>

using namespace orvo::sim;

namespace {

int pushInto(unsigned board, unsigned queue, std::span<const std::uint32_t> words) {
    return atBoard(board, [=](Board& found) -> int {
        DataQueue* const target = found.queue(queue);
        if (!target) return OrvoSimNoSuchPlace;
        return target->push(words) ? 0 : OrvoSimFull;
    });
}

} // namespace

namespace orvo::sim::own {

const char* orvoSimConfigurationError() {
    return takeConfigurationError();
}

int orvoSimBoardCount() {
    return static_cast<int>(simulation().boards().size());
}

int orvoSimSetBoardPresent(unsigned board, int present) {
    return atBoard(board, [=](Board& found) { return found.setPresent(present != 0, simClock.now()), 0; });
}

const OrvoSimRegisterMap* orvoSimRegisterMap(unsigned number) {
    const FirmwareProfile* const firmware = simulation().firmware(number);
    return firmware ? &firmware->map() : nullptr;
}

int orvoSimReportActionCommandTimeout(unsigned board, unsigned port, uint16_t count) {
    if (port >= maxPorts) return OrvoSimNoSuchPlace;
    const std::uint32_t word = endOfTransmission | count;
    return pushInto(board, firstActionQueue + port, {&word, 1});
}

int orvoSimPushWords(unsigned board, unsigned queue, const uint32_t* words, size_t count) {
    return words ? pushInto(board, queue, {words, count}) : static_cast<int>(OrvoSimBadValue);
}

int orvoSimSetIdleErrors(unsigned board, unsigned port, unsigned count) {
    return atPort(board, port, [=](Port& found) {
        const std::lock_guard lock(benchMutex);
        return found.phy().setIdleErrors(count), 0;
    });
}

int orvoSimSetPhyTimes(unsigned board, unsigned port, uint32_t resetMs, uint32_t negotiationMs) {
    return atPort(board, port, [=](Port& found) {
        const std::lock_guard lock(benchMutex);
        return found.phy().setTimes(resetMs, negotiationMs), 0;
    });
}

int orvoSimSetLineRate(unsigned board, int negotiated) {
    return atBoard(board, [=](Board& found) {
        const std::lock_guard lock(benchMutex);
        for (Port& port : found.ports()) port.setLineRate(negotiated != 0);
        return 0;
    });
}

int orvoSimReadPort(unsigned board, unsigned port, struct OrvoSimPort* out) {
    return atPort(board, port, [=](Port&) -> int {
        if (!out) return OrvoSimBadValue;
        simulation().board(board)->report(port, *out);
        return 0;
    });
}

int orvoSimPresetCounters(unsigned board, unsigned port, uint64_t value) {
    return atPort(board, port, [=](Port& found) { return found.presetCounters(value), 0; });
}

int orvoSimReadPhy(unsigned board, unsigned port, unsigned phyRegister, uint16_t* value) {
    return atPort(board, port, [=](Port& found) -> int {
        if (!value || phyRegister >= phyRegisters) return OrvoSimBadValue;
        const std::lock_guard lock(benchMutex);
        *value = found.phy().peek(phyRegister, simClock.now());
        return 0;
    });
}

int orvoSimUseVirtualTime(int clock) {
    if (clock < OrvoSimRealTime || clock > OrvoSimDrivenTime) return OrvoSimBadValue;
    simClock.useVirtual(clock != OrvoSimRealTime, clock == OrvoSimDrivenTime);
    for (const auto& board : simulation().boards())
        board->memory().page().clock.store(clock, std::memory_order_relaxed);
    return 0;
}

int orvoSimAdvanceTime(uint64_t microseconds) {
    constexpr auto most = std::chrono::floor<std::chrono::microseconds>(lastMoment);
    const auto span = std::min<uint64_t>(microseconds, static_cast<uint64_t>(most.count()));
    const bool isVirtual = simClock.advance(std::chrono::microseconds(span));
    return isVirtual ? 0 : OrvoSimBadValue;
}

uint64_t orvoSimTime() {
    return static_cast<uint64_t>(std::chrono::floor<std::chrono::microseconds>(simClock.now()).count());
}

} // namespace orvo::sim::own
