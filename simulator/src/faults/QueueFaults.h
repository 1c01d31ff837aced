// SPDX-License-Identifier: MIT
// Faults of a port's receive queue, as the host reads it, transmission by transmission.
#pragma once

#include "faults/ScriptedFault.h"
#include "mac/DataQueue.h"

#include <vector>

namespace orvo::sim {

/// Counts all transmissions that the host takes, with faults or without. A faulted transmission ends with the
/// read that shows its fault: the rest of it is dropped, and the next read begins with the next one. Threads:
/// the host's reading thread; `cleared` and the counts any.
class QueueFaults {
public:
    /// The faults must outlive it. What the queue holds now counts as taken.
    QueueFaults(std::vector<ScriptedFault*> faults, const DataQueue& queue);

    /// The result of a read of `words` in the middle of a faulted transmission; nothing outside one.
    std::optional<int> readStaged(std::uint32_t* out, std::size_t words);
    /// The result of a read of `words` that took `count` words from the queue; a fault may begin here.
    int delivered(DataQueue& queue, std::uint32_t* out, std::size_t words, std::size_t count);
    /// The board refused a read: the transmission that the host was reading is lost.
    void refused(DataQueue& queue);
    /// The host cleared the queue, into which `queued` frames were put so far.
    void cleared(std::uint64_t queued);
    /// Nothing is left of a faulted transmission for the next read.
    bool isSettled();
    /// Counts what the host took without this object being asked, of `queued` frames that were put in so far.
    void catchUp(std::uint64_t queued, const DataQueue& queue);

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
