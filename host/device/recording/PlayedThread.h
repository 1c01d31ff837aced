// SPDX-License-Identifier: MIT
// The calls of one recorded thread, and how far a run has repeated them.
#pragma once

#include "device/recording/RecordedCall.h"

#include <functional>

namespace orvo::host {

/// A call of the run that a recording answers.
struct LiveCall {
    Entry entry;
    std::array<std::uint64_t, mostArguments>
        arguments{}; ///< as the call has them; texts and buffers are pointers

    /// For messages, without what it would write.
    RecordedCall described() const;
    /// Whether what the call gives to the board is the same; of a run of writes, word number `times`.
    bool matches(const RecordedCall& call, std::uint64_t times) const;
    bool isQueueRead() const noexcept;
};

/// How the next call of a thread is to be answered.
struct Answer {
    enum class Kind { Call, Empty, Difference } kind;
    const RecordedCall* call = nullptr; ///< of kind Call
    std::int64_t moment = 0;            ///< likewise: when the recorded call had ended
};

/// When a call took effect: a read of a queue, which may wait for words, at its end; others when they began.
std::int64_t momentOf(const RecordedCall& call) noexcept;

/// Strict: calls come in their order. Two things may vary with the speed of a machine, and do so freely: how
/// often a queue is found empty, and how often a register is read that does not change for long. A fixed call
/// is any other. Threads: the playback's lock.
class PlayedThread {
public:
    PlayedThread(std::size_t place, std::vector<RecordedCall> calls);

    const std::size_t number; ///< in the recording

    /// Whether a new thread that begins with this call is this one.
    bool isUnusedAndBeginsWith(const LiveCall& live) const;
    bool isUsed() const noexcept { return isUsed_; }
    void use() noexcept { isUsed_ = true; }

    /// Takes the call. `isDue`: whether what a queue delivers may come now.
    Answer take(const LiveCall& live, const std::function<bool(const RecordedCall&)>& isDue);

    /// The first fixed call that is still to be made; null when there is none.
    const RecordedCall* missing() const;
    /// When that took effect; later than any other moment when there is none.
    std::int64_t nextMoment() const;

    /// Whether it has still to make a call of before `moment`, so that others should wait for it. Not after
    /// `giveUp`, until it makes a call again.
    bool isLate(std::int64_t moment) const { return isAwaited_ && nextMoment() < moment; }
    /// The same, of the others too: whether it has still to return to the board after what it did before.
    bool isBehind(std::int64_t moment) const;
    void giveUp() noexcept { isAwaited_ = false; }

    /// Whether it empties this queue, as the opening of a port does.
    bool clears(std::uint64_t queue) const;

    /// The calls before the present one, the last one last.
    std::vector<const RecordedCall*> before(std::size_t most) const;
    std::size_t position() const noexcept { return next_; }

private:
    std::size_t firstFixed(std::size_t from) const;
    void advance() noexcept;
    Answer made();
    bool mayBeEmpty(const LiveCall& live) const;

    std::vector<RecordedCall> calls_;
    std::size_t next_ = 0;
    std::uint64_t times_ = 0; // of the next call, made so far; may exceed its number
    bool isUsed_ = false, isAwaited_ = true;
};

} // namespace orvo::host
