// SPDX-License-Identifier: MIT
// Control entries: fault scripts, their ledger, and the accounts of ports.
#include "Simulation.h"
#include "Texts.h"

#include <algorithm>
#include <chrono>

using namespace orvo::sim;

namespace {

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
    *out = {spec.kind->name,
            spec.line,
            spec.place.board,
            spec.place.port,
            spec.received,
            static_cast<std::uint32_t>(std::chrono::floor<std::chrono::milliseconds>(spec.duration).count()),
            fault->injected(),
            effectsOf(*fault),
            spec.evidence,
            textOf(spec.evidence)};
    return 0;
}

int orvoSimReadPortAccount(unsigned board, unsigned port, struct OrvoSimPortAccount* out) {
    if (!simulation().port({board, port})) return OrvoSimNoSuchPlace;
    BoardFaults* const script = simulation().board(board)->script();
    if (!script) return OrvoSimNoSuchPlace;
    if (!out) return OrvoSimBadValue;
    const std::lock_guard lock(benchMutex);
    script->account(port, *out);
    return 0;
}
