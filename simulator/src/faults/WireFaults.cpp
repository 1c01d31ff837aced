// SPDX-License-Identifier: MIT
// Damages, loses, doubles and delays frames.
#include "faults/WireFaults.h"

#include <algorithm>

namespace orvo::sim {

namespace {

constexpr std::size_t shortestRunt = 14; // an Ethernet header
constexpr std::size_t longestGiant = 2048;

bool needsGoodFrame(const ScriptedFault& fault) noexcept {
    return fault.kind() == FaultKind::Overflow || fault.spec().evidence == OrvoSimReceiveErrors;
}

} // namespace

WireFaults::WireFaults(std::vector<ScriptedFault*> faults, std::vector<ScriptedFault*> watched)
    : faults_(std::move(faults)), watched_(std::move(watched)) {}

void WireFaults::carry(WireBytes frame, bool isSealed, FrameExit& exit) {
    const std::lock_guard lock(mutex_);
    const SimTime now = simClock.now();
    ScriptedFault* const fault = choose(frame, isSealed, now);
    if (fault)
        inflict(*fault, frame, isSealed, exit);
    else
        exit.pass(frame, isSealed);
    if (!fault || fault->kind() == FaultKind::Duplicate) letOvertake(frame, isSealed, now, exit);
    tellWatched(now);
}

/// Every fault counts the frame. Only a good frame can be damaged (damaging it twice could mend it) or be
/// lost to an overflow, and only one frame at a time is held back.
ScriptedFault* WireFaults::choose(WireBytes frame, bool isSealed, SimTime now) {
    ScriptedFault* chosen = nullptr;
    for (ScriptedFault* const fault : faults_) {
        if (!fault->occurs(now)) continue;
        const bool cannot = (fault->kind() == FaultKind::Reorder && holder_.load()) ||
                            (needsGoodFrame(*fault) && isSealed && !isGoodFrame(frame)) ||
                            frame.size() > longestGiant;
        if (chosen || cannot)
            fault->postpone();
        else
            chosen = fault;
    }
    return chosen;
}

void WireFaults::inflict(ScriptedFault& fault, WireBytes frame, bool isSealed, FrameExit& exit) {
    switch (fault.kind()) {
    case FaultKind::Loss:
        lost_.fetch_add(1);
        break;
    case FaultKind::Duplicate:
        exit.pass(frame, isSealed);
        exit.pass(frame, isSealed);
        added_.fetch_add(1);
        break;
    case FaultKind::Reorder:
        hold(fault, frame, isSealed);
        return; // counted when another frame overtakes it
    case FaultKind::Overflow:
        exit.overflow(frame, isSealed);
        break;
    default:
        exit.pass(WireBytes(buffer_).first(mangle(fault, frame, isSealed)), true);
    }
    fault.countInjection(simClock.now());
}

void WireFaults::hold(ScriptedFault& fault, WireBytes frame, bool isSealed) {
    held_.assign(frame.begin(), frame.end());
    heldIsSealed_ = isSealed;
    holder_.store(&fault);
}

/// A frame has passed unharmed, and the held one follows; not after an equal frame, as nobody could tell them
/// apart.
void WireFaults::letOvertake(WireBytes frame, bool isSealed, SimTime now, FrameExit& exit) {
    ScriptedFault* const holder = holder_.load();
    if (!holder || (isSealed == heldIsSealed_ && std::ranges::equal(frame, held_))) return;
    holder->countInjection(now);
    exit.pass(held_, heldIsSealed_);
    holder_.store(nullptr);
}

void WireFaults::release(FrameExit& exit) {
    const std::lock_guard lock(mutex_);
    if (!holder_.load()) return;
    exit.pass(held_, heldIsSealed_);
    holder_.store(nullptr);
}

/// Puts the damaged frame, with a check sequence, into the buffer; returns its length.
std::size_t WireFaults::mangle(ScriptedFault& fault, WireBytes frame, bool isSealed) {
    std::ranges::copy(frame, buffer_.begin());
    const std::size_t bytes = isSealed ? frame.size() : sealFrame(buffer_.data(), frame.size());
    switch (fault.kind()) {
    case FaultKind::FcsFlip:
        for (std::size_t i = std::min(bytes, fcsBytes); i > 0; --i)
            buffer_[bytes - i] ^= static_cast<std::uint8_t>(1 + fault.random(255));
        return bytes;
    case FaultKind::BitError: {
        const auto bit = fault.random(8 * std::max<std::uint64_t>(bytes, 1));
        buffer_[bit / 8] ^= static_cast<std::uint8_t>(1U << (bit % 8));
        return bytes;
    }
    case FaultKind::Runt:
        return std::min(bytes, shortestRunt + fault.random(minWireBytes - shortestRunt));
    case FaultKind::Giant: {
        const auto longer = maxWireBytes + 1 + fault.random(longestGiant - maxWireBytes);
        if (bytes < longer) std::fill(buffer_.begin() + bytes, buffer_.begin() + longer, std::uint8_t{0});
        return std::max(bytes, longer);
    }
    default:
        return bytes; // the others change nothing
    }
}

void WireFaults::tellWatched(SimTime now) {
    for (ScriptedFault* const fault : watched_)
        if (fault->occurs(now)) fault->setDue();
}

bool FaultyWire::carry(WireBytes frame, bool isSealed) noexcept {
    left_.store(true);
    faults_.carry(frame, isSealed, *this);
    return left_.load();
}

void FaultyWire::pass(WireBytes frame, bool isSealed) {
    const bool leaves = isSealed ? wire_->transmit(frame) : wire_->transmitUnsealed(frame);
    left_.store(leaves);
    if (leaves) faults_.countPassed();
}

/// One for each frame, so that threads that deliver at the same time get their own results.
class FaultySink::Exit final : public FrameExit {
public:
    explicit Exit(Receiver& receiver) noexcept : receiver_(receiver) {}
    void pass(WireBytes frame, bool isSealed) override {
        fate = isSealed ? receiver_.deliver(frame) : receiver_.deliverUnsealed(frame);
    }
    void overflow(WireBytes frame, bool isSealed) override { fate = receiver_.lose(frame, isSealed); }
    OrvoSimFate fate = OrvoSimPassed; // of a frame that never arrives, nobody asks

private:
    Receiver& receiver_;
};

OrvoSimFate FaultySink::carry(WireBytes frame, bool isSealed) noexcept {
    Exit exit(receiver_);
    faults_.carry(frame, isSealed, exit);
    return exit.fate;
}

void FaultySink::release() noexcept {
    Exit exit(receiver_);
    faults_.release(exit);
}

} // namespace orvo::sim
