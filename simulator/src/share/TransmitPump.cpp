// SPDX-License-Identifier: MIT
#include "share/TransmitPump.h"

#include "base/Patience.h"
#include "base/Threads.h"

#include <algorithm>

namespace orvo::sim {

namespace {

/// Of a sleep, which ends when frames come. A program can move the sleeper to a word of its own, where the
/// pump's end would not wake it.
constexpr std::chrono::seconds longestSleep{10};

constexpr std::size_t mostUnits = 4096; // a port counts no more writes of one frame, which is too long anyway

} // namespace

SlotContent::SlotContent(const TransmitSlot& slot) noexcept
    : begins(slot.begins.load(std::memory_order_relaxed) != 0),
      units(std::min<std::size_t>(slot.units.load(std::memory_order_relaxed), mostUnits)),
      count(2 * std::min(units, bytes.size() / 2)) {
    std::memcpy(bytes.data(), slot.bytes.data(), count);
}

/// At most a ring of frames: a position further ahead is none.
void RingReader::carry() noexcept {
    const auto published = ring_.published.load(std::memory_order_acquire);
    if (published - consumed_ > TransmitRing::usable) consumed_ = published;
    while (consumed_ != published) {
        const SlotContent frame(ring_.at(consumed_));
        board_.transmitFrame(port_, frame.begins, frame.content(), frame.units);
        ring_.consumed.store(++consumed_, std::memory_order_release);
    }
    ring_.consumed.store(consumed_, std::memory_order_release);
}

void RingReader::leave() noexcept {
    const SlotContent open(ring_.at(consumed_));
    if (open.begins || open.units != 0) board_.loadFrame(port_, open.begins, open.content(), open.units);
}

TransmitPump::TransmitPump(Board& board, unsigned port, TransmitRing& ring)
    : ring_(ring), reader_(board, port, ring), thread_(startThread([this] { run(); })) {}

/// Rings until the thread has heard it: the word that it sleeps on belongs to the program.
TransmitPump::~TransmitPump() {
    isEnding_.store(true);
    while (!hasEnded_.load()) {
        wakeSleepers(&ring_.published);
        usleep(100);
    }
    thread_.join();
}

void TransmitPump::run() noexcept {
    while (!isEnding_.load(std::memory_order_relaxed)) {
        reader_.carry();
        awaitFrames();
    }
    reader_.carry();
    reader_.leave();
    hasEnded_.store(true);
}

bool TransmitPump::hasWork() const noexcept {
    return reader_.hasFrames() || isEnding_.load(std::memory_order_relaxed);
}

void TransmitPump::awaitFrames() noexcept {
    if (hasWork() || (framesKeepComing_ && comesSoon([this] { return hasWork(); }))) return;
    const auto begin = std::chrono::steady_clock::now();
    ring_.isAsleep.store(1, std::memory_order_seq_cst);
    if (!hasWork()) sleepOn(&ring_.published, reader_.consumed(), longestSleep);
    ring_.isAsleep.store(0, std::memory_order_relaxed);
    framesKeepComing_ = std::chrono::steady_clock::now() - begin < soon + wakeTime;
}

} // namespace orvo::sim
