// SPDX-License-Identifier: MIT
#include "wire/BurstSender.h"

#include "base/Patience.h"
#include "base/Threads.h"

#include <offload/FrameCut.h>
#include <offload/Protocols.h>

#include <algorithm>
#include <utility>

namespace orvo::sim {

namespace {

using SteadyClock = std::chrono::steady_clock;

/// Frames at most this far apart follow each other closely. A program that waits for an answer takes longer,
/// so a single frame does not wait for the thread.
constexpr std::chrono::microseconds burstGap{20};
/// Of a sender that finds the FIFO full. Longer than a frame waits for room in the interface: the thread may
/// have to wait for a processor.
constexpr std::chrono::milliseconds longestWait{1000};

} // namespace

BurstSender::BurstSender(Send send, LinkListener& listener)
    : send_(std::move(send)), listener_(listener), slots_(std::make_unique<Slot[]>(slotCount)),
      join_(std::make_unique<offload::FrameJoin>()), thread_(startThread([this] { run(); })) {}

BurstSender::~BurstSender() {
    tail_.fetch_or(ending, std::memory_order_seq_cst);
    sleeps_.store(0, std::memory_order_seq_cst);
    sleeps_.notify_one();
    thread_.join();
}

bool BurstSender::post(WireBytes frame) noexcept {
    const auto before = std::exchange(lastPosted_, SteadyClock::now());
    const auto tail = tail_.load(std::memory_order_relaxed);
    const bool isEmpty = head_.load(std::memory_order_acquire) == tail;
    if ((isEmpty && lastPosted_ - before > burstGap) || frame.size() > maxFrameBytes || !awaitRoom(tail))
        return false;
    Slot& slot = at(tail);
    slot.bytes = static_cast<std::uint32_t>(frame.size());
    std::ranges::copy(frame, slot.content.begin());
    tail_.store(tail + step, std::memory_order_seq_cst); // seq_cst: the thread sees it, or this sees it sleep
    if (sleeps_.load(std::memory_order_seq_cst) != 0 && sleeps_.exchange(0) != 0) sleeps_.notify_one();
    return true;
}

bool BurstSender::awaitRoom(std::uint32_t tail) const noexcept {
    constexpr std::uint32_t full = slotCount * step;
    return tail - head_.load(std::memory_order_acquire) < full || awaitHead(tail - full + step, longestWait);
}

bool BurstSender::settle(std::chrono::milliseconds limit) const noexcept {
    return awaitHead(newest(), limit);
}

bool BurstSender::settle() const noexcept {
    return settle(longestWait);
}

/// Until all frames before the position have left.
bool BurstSender::awaitHead(std::uint32_t position, std::chrono::milliseconds limit) const noexcept {
    const auto isThere = [&] {
        return static_cast<std::int32_t>(head_.load(std::memory_order_acquire) - position) >= 0;
    };
    if (isThere()) return true;
    for (const auto end = SteadyClock::now() + limit; SteadyClock::now() < end;) {
        if (comesSoon(isThere)) return true;
        std::this_thread::sleep_for(soon);
    }
    return isThere();
}

void BurstSender::run() noexcept {
    for (;;) {
        awaitWork();
        const auto head = head_.load(std::memory_order_relaxed);
        if (head == newest()) return;
        const auto next = collect(head);
        sendCollected(at(head).frame());
        head_.store(next, std::memory_order_release);
    }
}

/// Returns once there are frames, or the end has come.
void BurstSender::awaitWork() noexcept {
    const auto head = head_.load(std::memory_order_relaxed);
    const auto hasWork = [&] { return tail_.load(std::memory_order_seq_cst) != head; };
    if (hasWork() || (framesKeepComing_ && comesSoon(hasWork))) return;
    const auto begin = SteadyClock::now();
    do { // again where a sender that was slow to look wakes it for a frame that has left since
        sleeps_.store(1, std::memory_order_seq_cst);
        if (!hasWork()) sleeps_.wait(1);
    } while (!hasWork());
    sleeps_.store(0, std::memory_order_relaxed);
    framesKeepComing_ = SteadyClock::now() - begin < soon + wakeTime;
}

/// Takes the next frame into the join, and those after it that continue it. Returns the position behind them;
/// the join stays empty where the frame goes singly.
std::uint32_t BurstSender::collect(std::uint32_t head) noexcept {
    const auto longest = mtu_.load(std::memory_order_relaxed) + offload::ethernetBytes;
    const auto isTaken = [&](WireBytes frame) { return frame.size() <= longest && join_->add(frame); };
    if (!isTaken(at(head).frame())) return head + step;
    do head += step;
    while (join_->isOpen() && head != newest() && isTaken(at(head).frame()));
    return head;
}

void BurstSender::sendCollected(WireBytes first) noexcept {
    if (join_->frames() == 0) return sendSingle(first);
    const auto frames = join_->frames();
    const auto joined = join_->take();
    if (frames > 1 && send_(joined.header, joined.bytes, isPatient())) {
        const auto bytes = joined.bytes.size() + (frames - 1) * joined.header.headerBytes;
        return account(true, frames, bytes);
    }
    // Either there is but one, or the interface had no room, is away, or takes no joined frames.
    offload::FrameCut cut(joined.header, joined.bytes);
    for (auto frame = cut.next(); !frame.empty(); frame = cut.next()) sendSingle(frame);
}

void BurstSender::sendSingle(WireBytes frame) noexcept {
    account(send_({}, frame, isPatient()), 1, frame.size());
}

void BurstSender::account(bool haveLeft, std::size_t frames, std::size_t bytes) noexcept {
    hasRoom_ = haveLeft;
    if (haveLeft)
        listener_.framesLeft(frames, bytes + frames * fcsBytes);
    else
        listener_.framesDidNotLeave(frames);
}

} // namespace orvo::sim
