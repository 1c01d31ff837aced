// SPDX-License-Identifier: MIT
// A port's receiving MAC: checks frames from the wire and queues them for the host.
#pragma once

#include "base/Counter.h"
#include "mac/DataQueue.h"
#include "mac/PortGate.h"
#include "wire/Wire.h"
#include "wire/WireTap.h"

#include <cstdint>

namespace orvo::sim {

/// Any thread.
class Receiver final : public FrameSink {
public:
    /// `errors` and `tap` outlive it.
    Receiver(const PortGate& gate, DataQueue& queue, SharedCounter& errors, TapPlace& tap) noexcept
        : gate_(gate), queue_(queue), errors_(errors), tap_(tap) {}

    OrvoSimFate deliver(WireBytes frame) noexcept override;
    OrvoSimFate deliverUnsealed(WireBytes content) noexcept override;
    /// A good frame is lost as if the queue had no room.
    OrvoSimFate lose(WireBytes frame, bool isSealed) noexcept;
    /// Counted as overflow, each with the words of the shortest frame.
    void countLost(std::uint64_t frames) noexcept override;
    bool hasRoom() const noexcept override { return queue_.roomWords() >= wordsOfFrame(maxFrameBytes); }

    /// Sets all counters except those of lost words.
    void presetCounters(std::uint64_t value) noexcept {
        queue_.presetFrameCounts(value);
        errors_.set(value);
        ignoredFrames_.set(value);
    }

    /// Good frames from the wire, whether or not the queue had room.
    std::uint64_t goodFrames() const noexcept { return counts().frames.value(); }
    std::uint64_t goodBytes() const noexcept { return counts().bytes.value(); }
    std::uint64_t errors() const noexcept { return errors_.value(); }
    std::uint64_t ignoredFrames() const noexcept { return ignoredFrames_.value(); }
    /// Good frames that entered the queue, or are just entering it.
    std::uint64_t queuedFrames() const noexcept { return goodFrames() - overflowFrames(); }
    std::uint64_t overflowFrames() const noexcept { return counts().lostFrames.value(); }
    std::uint64_t lostWords() const noexcept { return counts().lostWords.value(); }

private:
    OrvoSimFate take(WireBytes frame) noexcept;
    OrvoSimFate takeUnsealed(WireBytes content) noexcept;
    OrvoSimFate loseFrames(std::uint64_t frames) noexcept;
    OrvoSimFate ignore(std::uint64_t frames = 1) noexcept;
    OrvoSimFate refuse(OrvoSimFate fate) noexcept;
    OrvoSimFate accept(WireBytes content) noexcept;
    const DataQueue::FrameCounts& counts() const noexcept { return queue_.frameCounts(); }

    const PortGate& gate_;
    DataQueue& queue_;
    SharedCounter& errors_;
    TapPlace& tap_;
    SharedCounter ignoredFrames_;
};

} // namespace orvo::sim
