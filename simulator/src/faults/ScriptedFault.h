// SPDX-License-Identifier: MIT
// One entry of a fault script at work: whether it is its turn, and how often it was.
#pragma once

#include "faults/FaultScript.h"

#include <atomic>
#include <mutex>
#include <random>

namespace orvo::sim {

/// Any thread. Everything random comes from the entry's own generator, so that what one entry does never
/// depends on another one.
class ScriptedFault {
public:
    /// `armingAddress` is the address of the register that arms it; 0: it is armed from the start.
    ScriptedFault(FaultSpec spec, std::uint64_t seed, SimTime start, std::uint32_t armingAddress);

    const FaultSpec& spec() const noexcept { return spec_; }
    FaultKind kind() const noexcept { return spec_.kind->kind; }

    /// One more of what the kind counts; true when the fault is to happen at it.
    bool occurs(SimTime now);
    /// Takes the answer back: another fault came first. The next occurrence is this one's.
    void postpone();

    /// For kinds that happen at moments or after frames: true when one has come since the last call.
    bool isDue(SimTime now);
    /// A frame that the fault waited for has passed.
    void setDue() noexcept { due_.store(true); }
    /// All its turns have been taken.
    bool isSpent();
    bool isTimed() const noexcept { return spec_.when.atTime.has_value(); }

    void noteWrite(std::uint32_t address, std::uint64_t value, SimTime now) noexcept;
    /// No more from now on.
    void end() noexcept { ended_.store(true); }

    /// Below `limit`, which is not 0.
    std::uint64_t random(std::uint64_t limit);

    void countInjection(SimTime now) noexcept;
    /// What the last injection did is over before its time.
    void supersede(SimTime now) noexcept;
    /// `never` while it lasts.
    SimTime supersededAt() const noexcept { return supersededAt_.load(); }
    /// What an injection made beyond itself: reports.
    void countEffects(std::uint64_t by) noexcept { effects_.fetch_add(by); }
    std::uint64_t injected() const noexcept { return injected_.load(); }
    std::uint64_t effects() const noexcept { return effects_.load(); }
    SimTime lastInjection() const noexcept { return lastInjection_.load(); }

private:
    bool mayHappen(SimTime now) const noexcept;
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
