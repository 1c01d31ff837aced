// SPDX-License-Identifier: MIT
// Control entries: faults one at a time and by script, the ledger, and the accounts of ports.
#include "base/Text.h"
#include "entries/OwnEntries.h"
#include "process/Process.h"

#include <algorithm>
#include <chrono>

using namespace orvo::sim;

namespace {

int armAtQueue(unsigned board, unsigned queue, Access accesses, int result, unsigned times) {
    return atBoard(board, [=](Board& found) -> int {
        if (!found.queue(queue)) return OrvoSimNoSuchPlace;
        found.accessFaults().arm(accesses + queue, {result}, times, true);
        return 0;
    });
}

std::uint64_t microseconds(SimTime span) noexcept {
    return static_cast<std::uint64_t>(std::chrono::floor<std::chrono::microseconds>(span).count());
}

template <class Read> int load(std::uint64_t seed, char* error, std::size_t errorBytes, Read read) {
    try {
        simulation().loadFaults(read(), seed);
        return 0;
    } catch (const std::runtime_error& reason) { // of the script, or of a wire
        copyText(reason.what(), error, errorBytes);
        return OrvoSimBadValue;
    }
}

std::uint64_t effectsOf(const ScriptedFault& fault) noexcept {
    if (fault.kind() != FaultKind::SlowNegotiation) return fault.effects();
    if (fault.injected() == 0) return 0;
    const SimTime end = std::min(fault.supersededAt(), simClock.now());
    return microseconds(std::min(fault.spec().duration, end - fault.lastInjection()));
}

} // namespace

namespace orvo::sim::own {

int orvoSimFailReads(unsigned board, unsigned queue, int result, unsigned times) {
    return armAtQueue(board, queue, queueReads, result, times);
}

int orvoSimMisreportReads(unsigned board, unsigned queue, int extraBytes, unsigned times) {
    return armAtQueue(board, queue, queueDeliveries, extraBytes, times);
}

int orvoSimOverrideRegister(unsigned board, const char* name, int result, uint64_t value, unsigned times) {
    return atBoard(board, [=](Board& found) -> int {
        const std::uint32_t address = name ? found.firmware().addressOf(name) : 0;
        if (address == 0) return OrvoSimBadValue;
        found.accessFaults().arm(address, {result, value}, times, false);
        return 0;
    });
}

int orvoSimFailOpen(unsigned board, unsigned times) {
    return atBoard(board,
                   [=](Board& found) { return found.accessFaults().arm(openings, {}, times, true), 0; });
}

int orvoSimFailConfigure(unsigned board, int result, unsigned times) {
    return atBoard(board, [=](Board& found) {
        return found.accessFaults().arm(configurations, {result}, times, true), 0;
    });
}

int orvoSimLoadFaults(const char* file, uint64_t seed, char* error, size_t errorBytes) {
    return load(seed, error, errorBytes, [file] { return loadFaultScript(file ? file : ""); });
}

int orvoSimLoadFaultText(const char* text, uint64_t seed, char* error, size_t errorBytes) {
    return load(seed, error, errorBytes, [text] { return parseFaultScript(text ? text : "", "script"); });
}

int orvoSimEndFaults() {
    simulation().endFaults();
    return 0;
}

int orvoSimReadFault(unsigned number, struct OrvoSimFault* out) {
    const ScriptedFault* const fault = simulation().fault(number);
    if (!fault) return OrvoSimNoSuchPlace;
    if (!out) return OrvoSimBadValue;
    const FaultSpec& spec = fault->spec();
    const auto forMs = std::chrono::floor<std::chrono::milliseconds>(spec.duration).count();
    *out = {spec.kind->name,      spec.line,         spec.place.board,
            spec.place.port,      spec.received,     static_cast<std::uint32_t>(forMs),
            fault->injected(),    effectsOf(*fault), spec.evidence,
            textOf(spec.evidence)};
    return 0;
}

int orvoSimReadPortAccount(unsigned board, unsigned port, struct OrvoSimPortAccount* out) {
    return atPort(board, port, [=](Port&) -> int {
        BoardFaults* const script = simulation().board(board)->script();
        if (!script) return OrvoSimNoSuchPlace;
        if (!out) return OrvoSimBadValue;
        script->catchUp(port);
        const std::lock_guard lock(benchMutex);
        script->account(port, *out);
        return 0;
    });
}

} // namespace orvo::sim::own
