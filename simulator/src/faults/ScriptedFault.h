// SPDX-License-Identifier: MIT
// One fault at work: when it happens, and how often it did.
#pragma once

#include "faults/FaultScript.h"

#include <atomic>
#include <mutex>
#include <random>

namespace orvo::sim {

/// Any thread. Each has a random generator of its own, so that entries of a script do not influence each
/// other.
class ScriptedFault {
public:
    /// `armingAddress` is the address of the register that arms it; 0: it is armed from the start.
    ScriptedFault(FaultSpec spec, std::uint64_t seed, SimTime start, std::uint32_t armingAddress);

    const FaultSpec& spec() const noexcept { return spec_; }
    FaultKind kind() const noexcept { return spec_.kind->kind; }

    /// Counts one occurrence of what the kind waits for; true when the fault happens at it.
    bool occurs(SimTime now);
    /// After `occurs` said yes, but another fault came first: the fault happens at the next occurrence
    /// instead.
    void postpone();

    /// For kinds that happen at moments or after frames: true once for each that has come.
    bool isDue(SimTime now);
    /// The frame that the fault waited for has passed.
    void setDue() noexcept { due_.store(true); }
    /// True when it has happened as often as it may.
    bool isSpent();
    bool isTimed() const noexcept { return spec_.when.atTime.has_value(); }

    void noteWrite(std::uint32_t address, std::uint64_t value, SimTime now) noexcept;
    /// It does not happen any more.
    void end() noexcept { ended_.store(true); }
    /// It was ended, or has happened as often as it may. Stays so.
    bool isOver() const noexcept { return ended_.load() || injected_.load() >= mostInjections(); }

    /// A random number below `limit`, which must not be 0.
    std::uint64_t random(std::uint64_t limit);

    void countInjection(SimTime now) noexcept;
    /// Called when another event ends the last injection's effect early.
    void supersede(SimTime now) noexcept;
    /// When the last injection's effect was ended early; `never` if it was not.
    SimTime supersededAt() const noexcept { return supersededAt_.load(); }
    /// Counts what an injection produced, such as reports.
    void countEffects(std::uint64_t by) noexcept { effects_.fetch_add(by); }
    std::uint64_t injected() const noexcept { return injected_.load(); }
    std::uint64_t effects() const noexcept { return effects_.load(); }
    SimTime lastInjection() const noexcept { return lastInjection_.load(); }

private:
    bool mayHappen(SimTime now) const noexcept;
    std::uint64_t mostInjections() const noexcept;
    bool isTurn() noexcept;

    const FaultSpec spec_;
    std::atomic<SimTime> start_; // moments count from there
    const std::uint32_t armingAddress_;
    std::atomic<bool> armed_;
    std::atomic<bool> ended_{false};
    std::atomic<bool> due_{false};
    std::atomic<std::uint64_t> injected_{0};
    std::atomic<std::uint64_t> effects_{0};
    std::atomic<SimTime> lastInjection_{SimTime::zero()};
    std::atomic<SimTime> supersededAt_{never};

    std::mutex mutex_; // guards what follows
    std::mt19937_64 generator_;
    std::uint64_t occurrences_ = 0;
    std::uint64_t taken_ = 0; // turns, of at most `times`
    bool postponed_ = false;
    std::optional<SimTime> next_; // moment, where moments count
};

} // namespace orvo::sim
