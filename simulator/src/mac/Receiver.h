// SPDX-License-Identifier: MIT
// A port's receiving MAC: checks what comes from the wire and hands it to the host.
#pragma once

#include "base/Counter.h"
#include "mac/DataQueue.h"
#include "mac/PortGate.h"
#include "wire/Wire.h"

#include <cstdint>

namespace orvo::sim {

/// Any thread.
class Receiver final : public FrameSink {
public:
    Receiver(const PortGate& gate, DataQueue& queue) noexcept : gate_(gate), queue_(queue) {}

    Arrival deliver(WireBytes frame) noexcept override;
    Arrival deliverUnsealed(WireBytes content) noexcept override;
    /// As frames that the queue had no room for, each with as many words as the shortest has.
    void countLost(std::uint64_t frames) noexcept override;
    bool hasRoom() const noexcept override { return queue_.roomWords() >= wordsOfFrame(maxFrameBytes); }

    /// Apart from those of the queue's words.
    void presetCounters(std::uint64_t value) noexcept {
        queue_.presetFrameCounts(value);
        errors_.set(value);
        ignoredFrames_.set(value);
    }

    /// Frames from the wire that were good, whatever the queue had room for.
    std::uint64_t goodFrames() const noexcept { return counts().frames.value(); }
    std::uint64_t goodBytes() const noexcept { return counts().bytes.value(); }
    std::uint64_t errors() const noexcept { return errors_.value(); }
    std::uint64_t ignoredFrames() const noexcept { return ignoredFrames_.value(); }
    /// Good frames that entered the queue; one that is on its way into it counts already.
    std::uint64_t queuedFrames() const noexcept { return goodFrames() - overflowFrames(); }
    std::uint64_t overflowFrames() const noexcept { return counts().lostFrames.value(); }
    std::uint64_t lostWords() const noexcept { return counts().lostWords.value(); }

private:
    Arrival ignore(std::uint64_t frames = 1) noexcept;
    Arrival refuse() noexcept;
    Arrival accept(WireBytes content) noexcept;
    const DataQueue::FrameCounts& counts() const noexcept { return queue_.frameCounts(); }

    const PortGate& gate_;
    DataQueue& queue_;
    SharedCounter errors_;
    SharedCounter ignoredFrames_;
};

} // namespace orvo::sim
