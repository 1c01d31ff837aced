// SPDX-License-Identifier: MIT
// The ring of a data queue.
#include "mac/DataQueue.h"

#include "base/Patience.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace orvo::sim {

namespace {

constexpr std::uint64_t copying = 1; // in head_

using SteadyClock = std::chrono::steady_clock;

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

std::size_t DataQueue::windowBytes(std::size_t capacityWords) noexcept {
    const std::size_t bytes =
        sizeof(QueueWindow) + QueueWindow::ringWords(capacityWords) * sizeof(std::uint32_t);
    return (bytes + sizeof(CacheLine) - 1) / sizeof(CacheLine) * sizeof(CacheLine);
}

DataQueue::DataQueue(std::size_t capacityWords, QueueWindow* window)
    : capacityWords_(capacityWords), ringWords_(QueueWindow::ringWords(capacityWords)),
      ownMemory_(window ? nullptr
                        : std::make_unique_for_overwrite<CacheLine[]>(windowBytes(capacityWords) /
                                                                      sizeof(CacheLine))),
      window_(*new (window ? static_cast<void*>(window) : ownMemory_.get()) QueueWindow),
      ring_(reinterpret_cast<std::uint32_t*>(&window_ + 1)) {
    window_.capacityWords = static_cast<std::uint32_t>(capacityWords);
    window_.ringOffset = sizeof window_;
}

/// `fill(first, out)` writes the words from number `first` on; called once, or twice where the ring wraps.
template <class Fill> bool DataQueue::appendLocked(std::size_t count, Fill fill) {
    const auto tail = window_.tail.load(std::memory_order_relaxed);
    if (!hasRoom(tail, count)) {
        lostWords_.add(count);
        return false;
    }
    const std::size_t at = tail & (ringWords_ - 1);
    const std::size_t untilWrap = std::min(count, ringWords_ - at);
    fill(std::size_t{0}, std::span(ring_ + at, untilWrap));
    if (untilWrap < count) fill(untilWrap, std::span(ring_, count - untilWrap));
    transfers_.add(1);
    // Sequentially consistent with `sleepers_`: either the consumer sees the words before it sleeps, or this
    // thread sees the consumer.
    window_.tail.store(tail + count, std::memory_order_seq_cst);
    if (const ReaderPlace* const place = place_.load(std::memory_order_relaxed)) // stays under the lock
        if (place->isAsleep.load(std::memory_order_seq_cst) != 0) wakeSleepers(window_.bell());
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
    followLocked();
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
    const auto target = window_.clearTo.load(std::memory_order_acquire);
    if ((head & copying) != 0 || head >> 1 >= target) return false;
    if (head_.compare_exchange_weak(head, target << 1, std::memory_order_acq_rel, std::memory_order_acquire))
        head = target << 1;
    return true;
}

void DataQueue::claim(ReaderPlace& place, std::uint32_t reader) {
    const std::lock_guard turn(claims_);
    const std::lock_guard lock(producers_);
    followLocked();
    place.position.store(head_.load(std::memory_order_acquire) >> 1, std::memory_order_release);
    place_.store(&place, std::memory_order_relaxed);
    window_.reader.store(reader, std::memory_order_release);
}

void DataQueue::release(const ReaderPlace& place) {
    const std::lock_guard lock(producers_);
    if (place_.load(std::memory_order_relaxed) != &place) return;
    followLocked();
    place_.store(nullptr, std::memory_order_relaxed);
    window_.reader.store(0, std::memory_order_release);
}

void DataQueue::followReader() const noexcept {
    const std::lock_guard lock(producers_);
    followLocked();
}

/// Takes over the position of a consumer in another process: forward, and not beyond the newest word.
void DataQueue::followLocked() const noexcept {
    const ReaderPlace* const place = place_.load(std::memory_order_relaxed);
    if (!place) return;
    const auto position = place->position.load(std::memory_order_acquire);
    auto head = head_.load(std::memory_order_relaxed);
    if ((head & copying) != 0 || position <= head >> 1 ||
        position > window_.tail.load(std::memory_order_relaxed))
        return;
    head_.compare_exchange_strong(head, position << 1, std::memory_order_acq_rel, std::memory_order_relaxed);
}

std::size_t DataQueue::take(std::uint32_t* out, std::size_t most) noexcept {
    if (place_.load(std::memory_order_relaxed)) [[unlikely]]
        return takeForReader(out, most);
    return takeHere(out, most);
}

/// Words that are taken here for a consumer in another process, which learns how far.
std::size_t DataQueue::takeForReader(std::uint32_t* out, std::size_t most) noexcept {
    followReader();
    const std::size_t count = takeHere(out, most);
    const std::lock_guard lock(producers_);
    if (ReaderPlace* const place = place_.load(std::memory_order_relaxed))
        place->position.store(head_.load(std::memory_order_relaxed) >> 1, std::memory_order_release);
    return count;
}

std::size_t DataQueue::takeHere(std::uint32_t* out, std::size_t most) noexcept {
    auto head = head_.load(std::memory_order_relaxed);
    std::uint64_t from = 0;
    do {
        if ((head & copying) != 0) return 0; // a second consumer at the same time finds nothing
        from = std::max(head >> 1, window_.clearTo.load(std::memory_order_acquire));
    } while (!head_.compare_exchange_weak(head, from << 1 | copying, std::memory_order_acquire,
                                          std::memory_order_relaxed));
    auto tail = seenTail_.load(std::memory_order_acquire);
    if (tail < from + most) {
        tail = window_.tail.load(std::memory_order_acquire);
        seenTail_.store(tail, std::memory_order_release);
    }
    const std::size_t count = std::min<std::size_t>(most, tail - from);
    const std::size_t at = from & (ringWords_ - 1);
    const std::size_t untilWrap = std::min(count, ringWords_ - at);
    std::memcpy(out, ring_ + at, untilWrap * sizeof *out);
    std::memcpy(out + untilWrap, ring_, (count - untilWrap) * sizeof *out);
    head_.store((from + count) << 1, std::memory_order_release);
    return count;
}

/// Whether the consumer can take `wanted` words.
bool DataQueue::holds(std::size_t wanted) noexcept {
    const auto from =
        std::max(head_.load(std::memory_order_relaxed) >> 1, window_.clearTo.load(std::memory_order_acquire));
    if (seenTail_.load(std::memory_order_acquire) >= from + wanted) return true;
    const auto tail = window_.tail.load(std::memory_order_seq_cst);
    seenTail_.store(tail, std::memory_order_release);
    return tail >= from + wanted;
}

bool DataQueue::await(std::size_t wanted, std::chrono::milliseconds limit) {
    if (holds(wanted)) return true;
    if (limit.count() == 0) return false;
    if (wordsKeepComing_.load(std::memory_order_relaxed) && comesSoon([&] { return holds(wanted); }))
        return true;
    const auto begin = SteadyClock::now();
    const bool inTime = sleep(wanted, limit);
    wordsKeepComing_.store(inTime && SteadyClock::now() - begin < soon + wakeTime, std::memory_order_relaxed);
    return inTime;
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
    const auto target = window_.tail.load(std::memory_order_acquire);
    auto before = window_.clearTo.load(std::memory_order_relaxed);
    while (before < target && !window_.clearTo.compare_exchange_weak(
                                  before, target, std::memory_order_acq_rel, std::memory_order_relaxed)) {
    }
    auto head = head_.load(std::memory_order_acquire);
    while (catchUp(head)) {
    }
}

std::size_t DataQueue::words() const noexcept {
    if (place_.load(std::memory_order_relaxed)) [[unlikely]]
        followReader();
    const auto head = head_.load(std::memory_order_acquire) >> 1;
    const auto from = std::max(head, window_.clearTo.load(std::memory_order_acquire));
    return window_.tail.load(std::memory_order_seq_cst) - from;
}

std::size_t DataQueue::transmissions() const noexcept {
    const std::lock_guard lock(producers_);
    followLocked();
    const auto from =
        std::max(head_.load(std::memory_order_acquire) >> 1, window_.clearTo.load(std::memory_order_acquire));
    const auto ends = [this](std::uint64_t at) {
        return (ring_[at & (ringWords_ - 1)] & endOfTransmission) != 0;
    };
    const auto tail = window_.tail.load(std::memory_order_relaxed);
    std::size_t count = 0;
    for (auto at = from; at != tail; ++at) count += ends(at) ? 1U : 0U;
    const bool isBegun = from != 0 && tail - from < ringWords_ && !ends(from - 1);
    return isBegun && count != 0 ? count - 1 : count;
}

} // namespace orvo::sim
