// SPDX-License-Identifier: MIT
// Reads that go wrong.
#include "RegisterFaults.h"

namespace orvo::sim {

namespace {

constexpr std::uint64_t noBusyFlag = 0xFF; // what a flag reads that nobody drives

} // namespace

void RegisterFaults::add(ScriptedFault& fault, std::uint32_t address) {
    rows_.push_back({&fault, address});
}

/// In real time, since a host's patience with the flag is. The read that finds the time over is the last one:
/// a host that looks seldom gets to see it.
std::optional<RegisterFaults::Answer> RegisterFaults::readStuck(Row& row) {
    const auto now = std::chrono::steady_clock::now();
    if (!row.isStuck) {
        if (!row.fault->occurs(simClock.now())) return std::nullopt;
        row.fault->countInjection(simClock.now());
        row.stuckUntil = now + row.fault->spec().duration;
    }
    row.isStuck = now < row.stuckUntil;
    return Answer{0, 1};
}

std::optional<RegisterFaults::Answer> RegisterFaults::read(std::uint32_t address, std::uint64_t selectedPhy) {
    const std::lock_guard lock(mutex_);
    for (Row& row : rows_) // nobody counts the polls of a wait in real time, which are never the same number
        if (row.address == address && row.isStuck) return readStuck(row);
    for (Row& row : rows_) {
        if (row.address != address) continue;
        ScriptedFault& fault = *row.fault;
        if (fault.kind() == FaultKind::MdioFailed && selectedPhy != fault.spec().place.port) continue;
        if (fault.kind() == FaultKind::BusyStuck) {
            if (const auto answer = readStuck(row)) return answer;
            continue;
        }
        if (!fault.occurs(simClock.now())) continue;
        fault.countInjection(simClock.now());
        if (fault.kind() == FaultKind::BusyFf) return Answer{0, noBusyFlag};
        return Answer{fault.spec().result, 0};
    }
    return std::nullopt;
}

} // namespace orvo::sim
