// SPDX-License-Identifier: MIT
// Faults of one direction between a port and its wire.
#pragma once

#include "faults/ScriptedFault.h"
#include "mac/Receiver.h"
#include "wire/Wire.h"

#include <array>
#include <memory>
#include <vector>

namespace orvo::sim {

/// Where frames go after the faults.
class FrameExit {
public:
    virtual void pass(WireBytes frame, bool isSealed) = 0;
    /// A good frame is lost as if the receive queue had no room.
    virtual void overflow(WireBytes frame, bool isSealed) = 0;

protected:
    ~FrameExit() = default;
};

/// The faults of one port and one direction. Any thread; frames pass one at a time. A frame suffers at most
/// one fault: of several that are due, the first of the script; the others wait for the next frame.
class WireFaults {
public:
    /// The faults must outlive it. Those `watched` only count frames.
    WireFaults(std::vector<ScriptedFault*> faults, std::vector<ScriptedFault*> watched);

    bool empty() const noexcept { return faults_.empty() && watched_.empty(); }

    /// Passes a frame to the exit: unchanged, damaged, twice, later or not at all.
    void carry(WireBytes frame, bool isSealed, FrameExit& exit);
    /// Passes on the frame that is held back, if there is one.
    void release(FrameExit& exit);

    /// The exit took a frame.
    void countPassed() noexcept { passed_.fetch_add(1); }

    std::uint64_t passedFrames() const noexcept { return passed_.load(); }
    std::uint64_t lostFrames() const noexcept { return lost_.load(); }
    std::uint64_t addedFrames() const noexcept { return added_.load(); }
    std::uint64_t heldFrames() const noexcept { return holder_.load() ? 1 : 0; }

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
    std::atomic<ScriptedFault*> holder_{
        nullptr}; // the fault that holds a frame back; written under the mutex

    std::mutex mutex_; // guards what follows, and the exit
    std::array<std::uint8_t, 2560> buffer_{};
    std::vector<std::uint8_t> held_;
    bool heldIsSealed_ = false;
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
    void overflow(WireBytes, bool) override {} // cannot happen to what is sent

    const std::unique_ptr<Wire> wire_;
    WireFaults& faults_;
    std::atomic<bool> left_{true}; // whether the last frame left
};

/// A port's receiver with faults on what reaches it.
class FaultySink final : public FrameSink {
public:
    FaultySink(Receiver& receiver, WireFaults& faults) noexcept : receiver_(receiver), faults_(faults) {}

    OrvoSimFate deliver(WireBytes frame) noexcept override { return carry(frame, true); }
    OrvoSimFate deliverUnsealed(WireBytes content) noexcept override { return carry(content, false); }
    void countLost(std::uint64_t frames) noexcept override { receiver_.countLost(frames); }
    bool hasRoom() const noexcept override { return receiver_.hasRoom(); }
    void release() noexcept;

private:
    class Exit;
    OrvoSimFate carry(WireBytes frame, bool isSealed) noexcept;

    Receiver& receiver_;
    WireFaults& faults_;
};

} // namespace orvo::sim
