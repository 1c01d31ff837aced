// SPDX-License-Identifier: MIT
// Faults of a port's receive queue, as the host reads it, transmission by transmission.
#pragma once

#include "faults/ScriptedFault.h"
#include "mac/DataQueue.h"

#include <vector>

namespace orvo::sim {

/// Also keeps count of the transmissions that the host took, with faults or without. A transmission that goes
/// wrong is over with the read that shows it: what is left of it is dropped, so that the next read begins
/// with the next one. Threads: the host's reading thread; the figures any.
class QueueFaults {
public:
    /// The faults outlive it. What is in the queue now counts as taken.
    QueueFaults(std::vector<ScriptedFault*> faults, const DataQueue& queue);

    /// Serves a read of `words` from what is left of a faulted transmission, if one is under way: the result
    /// of the read.
    std::optional<int> readStaged(std::uint32_t* out, std::size_t words);
    /// `count` words were delivered of those the queue holds, in a read of `words`: the result of the read,
    /// after what faults make of it.
    int delivered(DataQueue& queue, std::uint32_t* out, std::size_t words, std::size_t count);
    /// A read of the host was refused: what it was in the middle of is lost.
    void refused(DataQueue& queue);
    /// The host has the queue cleared, with `queued` frames put into it so far.
    void cleared(std::uint64_t queued);

    std::uint64_t taken() const noexcept { return taken_.load(); }     ///< transmissions
    std::uint64_t failed() const noexcept { return failed_.load(); }   ///< of these, by reads that failed
    std::uint64_t dropped() const noexcept { return dropped_.load(); } ///< transmissions, by clearing

private:
    ScriptedFault* choose();
    int begin(ScriptedFault& fault, DataQueue& queue, std::uint32_t* sizeWord);
    void stage(DataQueue& queue, std::size_t dataWords);
    void walk(const std::uint32_t* words, std::size_t count);

    const std::vector<ScriptedFault*> faults_;
    std::atomic<std::uint64_t> taken_{0};
    std::atomic<std::uint64_t> failed_{0};
    std::atomic<std::uint64_t> dropped_{0};

    std::mutex mutex_;                 // guards what follows: a clear may come from another thread
    std::uint64_t wordsLeft_ = 0;      // of the transmission that is being read
    std::vector<std::uint32_t> stage_; // data words of a faulted transmission, for the next read
    ScriptedFault* staged_ = nullptr;
};

} // namespace orvo::sim
