// SPDX-License-Identifier: MIT
// A data queue of the board: a bounded ring of 32-bit words between the firmware and the host.
#pragma once

#include "base/Counter.h"
#include "mac/QueueWindow.h"
#include "wire/WireFrame.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <span>

namespace orvo::sim {

/// The flag in the last word of a transmission; its data are the lower 16 bits.
inline constexpr std::uint32_t endOfTransmission = 0x1'0000;

/// Words that a frame of this length takes in a queue: its size and two bytes a word.
constexpr std::size_t wordsOfFrame(std::size_t frameBytes) noexcept {
    return 1 + (frameBytes + 1) / 2;
}

/// Threads: any number of producers, which share a lock; one consumer, which takes a lock only to sleep
/// (`await`); `clear` and the counts from any thread.
///
/// Positions count words since the queue was made. The window's tail is the producers'. `head_` is the
/// consumer's: twice its position, plus 1 while it copies words out. A clear stores how far to drop
/// (`clearTo`), and moves `head_` there unless the consumer is copying; then the consumer, or the next
/// producer that needs the room, does.
///
/// The consumer may be another process. Then `head_` follows its position, which only counts where it can be
/// true, whenever this process wants to know it.
///
/// Each side writes to cache lines of its own, and reads the other side's position only when the one that it
/// saw last does not suffice.
class DataQueue {
public:
    /// `window` with its ring behind it lies in memory of zeros that outlives the queue; null: memory of its
    /// own.
    explicit DataQueue(std::size_t capacityWords, QueueWindow* window = nullptr);
    /// The bytes of such a window and ring.
    static std::size_t windowBytes(std::size_t capacityWords) noexcept;

    /// Makes another process the consumer, until `release` or the next call. `place`, which nobody need
    /// trust, stays that long. Any thread.
    void claim(ReaderPlace& place, std::uint32_t reader);
    void release(const ReaderPlace& place);
    std::uint32_t reader() const noexcept { return window_.reader.load(std::memory_order_acquire); }
    /// Lets nobody else become the consumer while the lock is held: for a read on behalf of the present one.
    [[nodiscard]] std::unique_lock<std::mutex> keepReader() { return std::unique_lock(claims_); }

    /// Appends the words. False when there is no room for all of them; they are counted as lost then.
    bool push(std::span<const std::uint32_t> words);

    /// Appends a received frame of at most 65,535 bytes: its size, then two bytes a word, first byte low,
    /// with the end-of-transmission flag in the last. An odd frame gets a zero byte at its end.
    bool pushFrame(WireBytes frame);

    /// Counts received frames of this length that were lost before they reached the queue.
    void countLostFrames(std::uint64_t frames, std::size_t frameBytes);

    /// Consumer: takes up to `most` words, as many as there are.
    std::size_t take(std::uint32_t* out, std::size_t most) noexcept;

    /// Consumer: waits until the queue holds `wanted` words; false when it does not within `limit`. While
    /// words keep coming, it polls for some microseconds before it sleeps, as waking up takes as long.
    bool await(std::size_t wanted, std::chrono::milliseconds limit);

    /// Drops the content. A push at the same time is dropped or kept as a whole.
    void clear() noexcept;

    std::size_t words() const noexcept;
    /// Those in the queue that the consumer has not begun to read.
    std::size_t transmissions() const noexcept;
    std::size_t roomWords() const noexcept { return capacityWords_ - words(); }
    std::uint64_t lostWords() const noexcept { return lostWords_.value(); }
    /// Pushes that had room.
    std::uint64_t transfers() const noexcept { return transfers_.value(); }

    /// Received frames, including those that found no room and those lost before. A frame is counted before
    /// it can be read.
    struct FrameCounts {
        Counter frames;
        Counter bytes; ///< their check sequences included
        Counter lostFrames;
        Counter lostWords; ///< with those frames
    };
    const FrameCounts& frameCounts() const noexcept { return frameCounts_; }
    /// Sets the first two; call it while no frames arrive.
    void presetFrameCounts(std::uint64_t value) noexcept;

private:
    struct alignas(64) CacheLine {
        std::byte bytes[64];
    };
    template <class Fill> bool appendLocked(std::size_t count, Fill fill);
    void wakeIfAsleep();
    bool hasRoom(std::uint64_t tail, std::size_t count) noexcept;
    bool fits(std::uint64_t tail, std::size_t count) const noexcept {
        return tail + count - (seenHead_ >> 1) <= capacityWords_;
    }
    void countFrames(std::uint64_t frames, std::size_t frameBytes) noexcept;
    void countLoss(std::uint64_t frames, std::uint64_t words) noexcept;
    bool holds(std::size_t wanted) noexcept;
    bool sleep(std::size_t wanted, std::chrono::milliseconds limit);
    bool catchUp(std::uint64_t& head) noexcept;
    [[gnu::noinline]] void followReader() const noexcept;
    [[gnu::noinline]] std::size_t takeForReader(std::uint32_t* out, std::size_t most) noexcept;
    std::size_t takeHere(std::uint32_t* out, std::size_t most) noexcept;
    void followLocked() const noexcept;

    const std::size_t capacityWords_;
    const std::size_t ringWords_;
    const std::unique_ptr<CacheLine[]> ownMemory_;
    QueueWindow& window_;
    std::uint32_t* const ring_;

    std::mutex claims_; // taken before the next

    alignas(64) mutable std::mutex producers_; // guards the next six
    std::uint64_t seenHead_ = 0;
    std::atomic<ReaderPlace*> place_{nullptr}; // of a consumer in another process
    Counter lostWords_;
    Counter transfers_;
    alignas(64) FrameCounts frameCounts_;

    alignas(64) mutable std::atomic<std::uint64_t> head_{0}; // follows a consumer in another process
    std::atomic<std::uint64_t> seenTail_{0};                 // this and the next are the consumer's
    std::atomic<bool> wordsKeepComing_{true}; // in the last wait they came before it slept, or soon after

    alignas(64) std::atomic<unsigned> sleepers_{0};
    std::mutex sleep_;
    std::condition_variable wake_;
};

} // namespace orvo::sim
