// SPDX-License-Identifier: MIT
// Decides at which occurrences and moments a fault happens.
#include "faults/ScriptedFault.h"

namespace orvo::sim {

ScriptedFault::ScriptedFault(FaultSpec spec, std::uint64_t seed, SimTime start, std::uint32_t armingAddress)
    : spec_(std::move(spec)), start_(start), armingAddress_(armingAddress), armed_(armingAddress == 0),
      generator_(seed), next_(spec_.when.atTime) {}

bool ScriptedFault::mayHappen(SimTime now) const noexcept {
    const SimTime passed = now - start_.load();
    return !ended_.load() && armed_.load() && passed >= spec_.when.fromTime && passed <= spec_.when.toTime;
}

std::uint64_t ScriptedFault::mostInjections() const noexcept {
    const auto& when = spec_.when;
    const bool isOnce = when.at != 0 || (isTimed() && when.everyTime == SimTime::zero());
    return isOnce ? 1 : when.times;
}

/// Draws a number at every occurrence that the rate applies to, even where `every` then says no, so that the
/// sequence stays the same.
bool ScriptedFault::isTurn() noexcept {
    const auto& when = spec_.when;
    if (when.at != 0) return occurrences_ == when.at;
    if (occurrences_ < when.from || occurrences_ > when.to) return false;
    const bool drawn = when.rate == UINT64_MAX || generator_() >> 11 < when.rate;
    return drawn && (occurrences_ - when.from + 1) % when.every == 0;
}

bool ScriptedFault::occurs(SimTime now) {
    const std::lock_guard lock(mutex_);
    if (!mayHappen(now)) return false;
    ++occurrences_;
    if (!isTurn() && !postponed_) return false;
    if (taken_ >= spec_.when.times) return false;
    postponed_ = false;
    ++taken_;
    return true;
}

bool ScriptedFault::isSpent() {
    const std::lock_guard lock(mutex_);
    return taken_ >= spec_.when.times;
}

void ScriptedFault::postpone() {
    const std::lock_guard lock(mutex_);
    postponed_ = true;
    --taken_;
}

bool ScriptedFault::isDue(SimTime now) {
    if (!isTimed()) return due_.exchange(false) && !ended_.load();
    const std::lock_guard lock(mutex_);
    const SimTime passed = now - start_.load();
    if (!mayHappen(now) || !next_ || passed < *next_ || taken_ >= spec_.when.times) return false;
    ++taken_;
    if (spec_.when.everyTime == SimTime::zero())
        next_.reset();
    else
        *next_ += ((passed - *next_) / spec_.when.everyTime + 1) * spec_.when.everyTime;
    return true;
}

void ScriptedFault::noteWrite(std::uint32_t address, std::uint64_t value, SimTime now) noexcept {
    if (address != armingAddress_ || value != spec_.when.armingValue || armed_.load()) return;
    start_.store(now);
    armed_.store(true);
}

std::uint64_t ScriptedFault::random(std::uint64_t limit) {
    const std::lock_guard lock(mutex_);
    return generator_() % limit;
}

void ScriptedFault::countInjection(SimTime now) noexcept {
    injected_.fetch_add(1);
    lastInjection_.store(now);
    supersededAt_.store(never);
}

void ScriptedFault::supersede(SimTime now) noexcept {
    SimTime lasting = never;
    supersededAt_.compare_exchange_strong(lasting, now);
}

} // namespace orvo::sim
