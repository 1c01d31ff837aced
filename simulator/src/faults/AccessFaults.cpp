// SPDX-License-Identifier: MIT
// Chooses the fault of an access, and its answer.
#include "faults/AccessFaults.h"

#include <algorithm>

namespace orvo::sim {

namespace {

constexpr std::uint64_t floatingFlag = 0xFF; // read from a flag that nothing drives

} // namespace

void AccessFaults::arm(Access access, Answer answer, unsigned times, bool replaces) {
    FaultSpec spec;
    spec.kind = &calledFault;
    spec.result = answer.result;
    spec.value = answer.value;
    spec.when.times = times;
    const std::lock_guard lock(mutex_);
    if (replaces || times == 0)
        called_.remove_if([access](const Called& entry) { return entry.access == access; });
    if (times != 0) called_.emplace_back(access, std::move(spec));
    condition_.set(Trouble::CalledFaults, !called_.empty());
}

void AccessFaults::setScript(std::vector<Row> rows) {
    const std::lock_guard lock(mutex_);
    scripted_ = std::move(rows);
}

bool AccessFaults::isSettled() {
    const std::lock_guard lock(mutex_);
    return std::ranges::none_of(scripted_, [](const Row& row) { return row.isStuck; });
}

std::optional<AccessFaults::Answer> AccessFaults::take(Access access, std::uint64_t selectedPhy) {
    const std::lock_guard lock(mutex_);
    if (const auto answer = takeCalled(access)) return answer;
    for (Row& row : scripted_) // not counted: the number of polls in real time varies
        if (row.access == access && row.isStuck) return readStuck(row);
    for (Row& row : scripted_) {
        if (row.access != access) continue;
        if (const auto answer = takeScripted(row, selectedPhy)) return answer;
    }
    return std::nullopt;
}

std::optional<AccessFaults::Answer> AccessFaults::takeCalled(Access access) {
    const auto found = std::find_if(called_.begin(), called_.end(),
                                    [access](const Called& entry) { return entry.access == access; });
    if (found == called_.end() || !found->fault.occurs(simClock.now())) return std::nullopt;
    const Answer answer{found->fault.spec().result, found->fault.spec().value};
    if (found->fault.isSpent()) called_.erase(found);
    condition_.set(Trouble::CalledFaults, !called_.empty());
    return answer;
}

std::optional<AccessFaults::Answer> AccessFaults::takeScripted(Row& row, std::uint64_t selectedPhy) {
    ScriptedFault& fault = *row.fault;
    if (fault.kind() == FaultKind::MdioFailed && selectedPhy != fault.spec().place.port) return std::nullopt;
    if (!fault.occurs(simClock.now())) return std::nullopt;
    fault.countInjection(simClock.now());
    if (fault.kind() == FaultKind::BusyFf) return Answer{0, floatingFlag};
    if (fault.kind() != FaultKind::BusyStuck) return Answer{fault.spec().result, 0};
    row.stuckUntil = std::chrono::steady_clock::now() + fault.spec().duration;
    return readStuck(row);
}

/// Real time, as hosts wait for the flag in real time. The first read after the time is over still sees the
/// flag, so that even a host that reads rarely sees it once.
std::optional<AccessFaults::Answer> AccessFaults::readStuck(Row& row) {
    row.isStuck = std::chrono::steady_clock::now() < row.stuckUntil;
    return Answer{0, 1};
}

} // namespace orvo::sim
