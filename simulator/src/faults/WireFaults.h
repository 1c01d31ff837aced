// SPDX-License-Identifier: MIT
// Faults of a wire: between a port and its wire, one way.
#pragma once

#include "faults/ScriptedFault.h"
#include "wire/Wire.h"

#include <array>
#include <memory>
#include <vector>

namespace orvo::sim {

/// Where the frames go on to.
class FrameExit {
public:
    virtual void pass(WireBytes frame, bool isSealed) = 0;
    /// A good frame goes under for lack of room in the receive queue.
    virtual void overflow() = 0;

protected:
    ~FrameExit() = default;
};

/// The faults of one port and one direction. Any thread; frames pass one at a time. At most one fault happens
/// to a frame: where several want to, the first of the script does, and the others wait for the next frame.
class WireFaults {
public:
    /// The faults outlive it. `watched` only count the frames.
    WireFaults(std::vector<ScriptedFault*> faults, std::vector<ScriptedFault*> watched);

    bool empty() const noexcept { return faults_.empty() && watched_.empty(); }

    /// Carries a frame to the exit: once, changed, twice, later or not at all.
    void carry(WireBytes frame, bool isSealed, FrameExit& exit);
    /// What is held back goes on.
    void release(FrameExit& exit);

    /// One that the exit took.
    void countPassed() noexcept { passed_.fetch_add(1); }

    std::uint64_t passedFrames() const noexcept { return passed_.load(); }
    std::uint64_t lostFrames() const noexcept { return lost_.load(); }
    std::uint64_t addedFrames() const noexcept { return added_.load(); }
    std::uint64_t heldFrames() const noexcept { return isHolding_.load() ? 1 : 0; }

private:
    ScriptedFault* choose(WireBytes frame, bool isSealed, SimTime now);
    void inflict(ScriptedFault& fault, WireBytes frame, bool isSealed, FrameExit& exit);
    void hold(ScriptedFault& fault, WireBytes frame, bool isSealed);
    void letOvertake(WireBytes frame, bool isSealed, SimTime now, FrameExit& exit);
    std::size_t mangle(ScriptedFault& fault, WireBytes frame, bool isSealed);
    void tellWatched(SimTime now);

    const std::vector<ScriptedFault*> faults_;
    const std::vector<ScriptedFault*> watched_;
    std::atomic<std::uint64_t> passed_{0};
    std::atomic<std::uint64_t> lost_{0};
    std::atomic<std::uint64_t> added_{0};
    std::atomic<bool> isHolding_{false};

    std::mutex mutex_; // guards what follows, and the exit
    std::array<std::uint8_t, 2560> buffer_{};
    std::vector<std::uint8_t> held_;
    bool heldIsSealed_ = false;
    ScriptedFault* holder_ = nullptr;
};

/// A wire with faults on what the port sends.
class FaultyWire final : public Wire, private FrameExit {
public:
    FaultyWire(std::unique_ptr<Wire> wire, WireFaults& faults) : wire_(std::move(wire)), faults_(faults) {}

    void plugged(LinkListener& listener) noexcept override { wire_->plugged(listener); }
    bool transmit(WireBytes frame) noexcept override { return carry(frame, true); }
    bool transmitUnsealed(WireBytes content) noexcept override { return carry(content, false); }
    bool hasCarrier() const noexcept override { return wire_->hasCarrier(); }
    bool isPlayedOnDemand() const noexcept override { return wire_->isPlayedOnDemand(); }
    void play() noexcept override { wire_->play(); }
    bool flush() noexcept override { return wire_->flush(); }
    void release() noexcept override { faults_.release(*this); }

private:
    bool carry(WireBytes frame, bool isSealed) noexcept;
    void pass(WireBytes frame, bool isSealed) override;
    void overflow() override {} // happens to what is received

    const std::unique_ptr<Wire> wire_;
    WireFaults& faults_;
    std::atomic<bool> left_{true}; // the last frame did
};

/// A port's receiver with faults on what reaches it.
class FaultySink final : public FrameSink {
public:
    FaultySink(FrameSink& sink, WireFaults& faults) noexcept : sink_(sink), faults_(faults) {}

    Arrival deliver(WireBytes frame) noexcept override { return carry(frame, true); }
    Arrival deliverUnsealed(WireBytes content) noexcept override { return carry(content, false); }
    void countLost(std::uint64_t frames) noexcept override { sink_.countLost(frames); }
    bool hasRoom() const noexcept override { return sink_.hasRoom(); }
    void release() noexcept;

private:
    class Exit;
    Arrival carry(WireBytes frame, bool isSealed) noexcept;

    FrameSink& sink_;
    WireFaults& faults_;
};

} // namespace orvo::sim
