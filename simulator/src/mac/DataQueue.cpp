// SPDX-License-Identifier: MIT
// The ring of a data queue.
#include "mac/DataQueue.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <thread>

namespace orvo::sim {

namespace {

constexpr std::uint64_t copying = 1; // in head_

using SteadyClock = std::chrono::steady_clock;

constexpr std::chrono::microseconds soon{15};     // a full frame at line rate takes 12.3
constexpr std::chrono::microseconds wakeTime{15}; // from waking a sleeper until it runs
constexpr int looksAtOnce = 32;

/// Gives the processor core's other thread precedence.
void relax() noexcept {
#if defined(__x86_64__)
    __builtin_ia32_pause();
#endif
}

/// The words from number `first` on of the transmission that carries the frame; word 0 is the size word.
void packFrame(WireBytes frame, std::size_t first, std::span<std::uint32_t> out) noexcept {
    const std::size_t evenBytes = frame.size() + frame.size() % 2;
    std::size_t i = 0;
    if (first == 0 && !out.empty()) out[i++] = static_cast<std::uint32_t>(evenBytes);
    const std::size_t unit = first + i - 1; // of two bytes
    const std::size_t whole = std::min(out.size() - i, frame.size() / 2 - unit);
    const std::uint8_t* bytes = frame.data() + 2 * unit;
    std::uint32_t* words = out.data() + i;
    for (std::size_t k = 0; k < whole; ++k) {
        std::uint16_t pair = 0; // first byte low, as in memory
        std::memcpy(&pair, bytes + 2 * k, sizeof pair);
        words[k] = pair;
    }
    if (i + whole < out.size()) words[whole] = bytes[2 * whole];
    if (first + out.size() == wordsOfFrame(frame.size())) out.back() |= endOfTransmission;
}

} // namespace

DataQueue::DataQueue(std::size_t capacityWords)
    : capacityWords_(capacityWords), ringWords_(std::bit_ceil(capacityWords)),
      ring_(std::make_unique_for_overwrite<std::uint32_t[]>(ringWords_)) {}

/// `fill(first, out)` writes the words from number `first` on; called once, or twice where the ring wraps.
template <class Fill> bool DataQueue::appendLocked(std::size_t count, Fill fill) {
    const auto tail = tail_.load(std::memory_order_relaxed);
    if (!hasRoom(tail, count)) {
        lostWords_.add(count);
        return false;
    }
    const std::size_t at = tail & (ringWords_ - 1);
    const std::size_t untilWrap = std::min(count, ringWords_ - at);
    fill(std::size_t{0}, std::span(ring_.get() + at, untilWrap));
    if (untilWrap < count) fill(untilWrap, std::span(ring_.get(), count - untilWrap));
    transfers_.add(1);
    // Sequentially consistent with `sleepers_`: either the consumer sees the words before it sleeps, or this
    // thread sees the consumer.
    tail_.store(tail + count, std::memory_order_seq_cst);
    return true;
}

bool DataQueue::push(std::span<const std::uint32_t> words) {
    {
        const std::lock_guard lock(producers_);
        const auto copy = [words](std::size_t first, std::span<std::uint32_t> out) {
            std::copy_n(words.begin() + static_cast<std::ptrdiff_t>(first), out.size(), out.begin());
        };
        if (!appendLocked(words.size(), copy)) return false;
    }
    wakeIfAsleep();
    return true;
}

bool DataQueue::pushFrame(WireBytes frame) {
    const std::size_t count = wordsOfFrame(frame.size());
    {
        const std::lock_guard lock(producers_);
        countFrames(1, frame.size()); // before the host can see the frame
        const auto pack = [frame](std::size_t first, std::span<std::uint32_t> out) {
            packFrame(frame, first, out);
        };
        if (!appendLocked(count, pack)) {
            countLoss(1, count);
            return false;
        }
    }
    wakeIfAsleep();
    return true;
}

void DataQueue::countLostFrames(std::uint64_t frames, std::size_t frameBytes) {
    const std::uint64_t words = frames * wordsOfFrame(frameBytes);
    const std::lock_guard lock(producers_);
    countFrames(frames, frameBytes);
    countLoss(frames, words);
    lostWords_.add(words);
}

void DataQueue::countFrames(std::uint64_t frames, std::size_t frameBytes) noexcept {
    frameCounts_.frames.add(frames);
    frameCounts_.bytes.add(frames * (frameBytes + fcsBytes));
}

void DataQueue::presetFrameCounts(std::uint64_t value) noexcept {
    const std::lock_guard lock(producers_);
    frameCounts_.frames.set(value);
    frameCounts_.bytes.set(value);
}

void DataQueue::countLoss(std::uint64_t frames, std::uint64_t words) noexcept {
    frameCounts_.lostFrames.add(frames);
    frameCounts_.lostWords.add(words);
}

bool DataQueue::hasRoom(std::uint64_t tail, std::size_t count) noexcept {
    if (count > capacityWords_) return false;
    if (fits(tail, count)) return true;
    seenHead_ =
        head_.load(std::memory_order_acquire); // acquire: the consumer has copied out what is overwritten now
    if (fits(tail, count)) return true;
    while (catchUp(seenHead_)) {
    }
    return fits(tail, count);
}

/// Moves `head_` to where the last clear put it. False when it is there already, or when the consumer is
/// copying and will do it. `head` is the value seen last.
bool DataQueue::catchUp(std::uint64_t& head) noexcept {
    const auto target = clearTo_.load(std::memory_order_acquire);
    if ((head & copying) != 0 || head >> 1 >= target) return false;
    if (head_.compare_exchange_weak(head, target << 1, std::memory_order_acq_rel, std::memory_order_acquire))
        head = target << 1;
    return true;
}

std::size_t DataQueue::take(std::uint32_t* out, std::size_t most) noexcept {
    auto head = head_.load(std::memory_order_relaxed);
    std::uint64_t from = 0;
    do {
        if ((head & copying) != 0) return 0; // a second consumer at the same time finds nothing
        from = std::max(head >> 1, clearTo_.load(std::memory_order_acquire));
    } while (!head_.compare_exchange_weak(head, from << 1 | copying, std::memory_order_acquire,
                                          std::memory_order_relaxed));
    auto tail = seenTail_.load(std::memory_order_acquire);
    if (tail < from + most) {
        tail = tail_.load(std::memory_order_acquire);
        seenTail_.store(tail, std::memory_order_release);
    }
    const std::size_t count = std::min<std::size_t>(most, tail - from);
    const std::size_t at = from & (ringWords_ - 1);
    const std::size_t untilWrap = std::min(count, ringWords_ - at);
    std::memcpy(out, ring_.get() + at, untilWrap * sizeof *out);
    std::memcpy(out + untilWrap, ring_.get(), (count - untilWrap) * sizeof *out);
    head_.store((from + count) << 1, std::memory_order_release);
    return count;
}

/// Whether the consumer can take `wanted` words.
bool DataQueue::holds(std::size_t wanted) noexcept {
    const auto from =
        std::max(head_.load(std::memory_order_relaxed) >> 1, clearTo_.load(std::memory_order_acquire));
    if (seenTail_.load(std::memory_order_acquire) >= from + wanted) return true;
    const auto tail = tail_.load(std::memory_order_seq_cst);
    seenTail_.store(tail, std::memory_order_release);
    return tail >= from + wanted;
}

bool DataQueue::await(std::size_t wanted, std::chrono::milliseconds limit) {
    if (holds(wanted)) return true;
    if (limit.count() == 0) return false;
    if (wordsKeepComing_.load(std::memory_order_relaxed) && comesSoon(wanted)) return true;
    const auto begin = SteadyClock::now();
    const bool inTime = sleep(wanted, limit);
    wordsKeepComing_.store(inTime && SteadyClock::now() - begin < soon + wakeTime, std::memory_order_relaxed);
    return inTime;
}

bool DataQueue::comesSoon(std::size_t wanted) noexcept {
    const auto end = SteadyClock::now() + soon;
    do {
        for (int look = 0; look < looksAtOnce; ++look) {
            if (holds(wanted)) return true;
            relax();
        }
        std::this_thread::yield(); // the producer may be waiting for this processor
    } while (SteadyClock::now() < end);
    return false;
}

bool DataQueue::sleep(std::size_t wanted, std::chrono::milliseconds limit) {
    std::unique_lock lock(sleep_);
    sleepers_.fetch_add(1, std::memory_order_seq_cst);
    const bool inTime = wake_.wait_for(lock, limit, [this, wanted] { return holds(wanted); });
    sleepers_.fetch_sub(1, std::memory_order_relaxed);
    return inTime;
}

void DataQueue::wakeIfAsleep() {
    if (sleepers_.load(std::memory_order_seq_cst) == 0) return;
    { const std::lock_guard lock(sleep_); } // now the consumer has not tested yet, or it sleeps
    wake_.notify_all();
}

void DataQueue::clear() noexcept {
    const auto target = tail_.load(std::memory_order_acquire);
    auto before = clearTo_.load(std::memory_order_relaxed);
    while (before < target && !clearTo_.compare_exchange_weak(before, target, std::memory_order_acq_rel,
                                                              std::memory_order_relaxed)) {
    }
    auto head = head_.load(std::memory_order_acquire);
    while (catchUp(head)) {
    }
}

std::size_t DataQueue::words() const noexcept {
    const auto head = head_.load(std::memory_order_acquire) >> 1;
    const auto from = std::max(head, clearTo_.load(std::memory_order_acquire));
    return tail_.load(std::memory_order_seq_cst) - from;
}

} // namespace orvo::sim
