// SPDX-License-Identifier: MIT
// Sends frames that follow each other closely, as few at a time as the device takes.
#pragma once

#include "wire/Wire.h"

#include <offload/FrameJoin.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <thread>

namespace orvo::sim {

/// A FIFO of frames, and a thread that sends them: as one joined frame where they are one, so that a burst
/// costs few system calls. Frames leave in their order. The destructor sends what is left, without patience.
///
/// Threads: the port's sender calls `post` and `settle`; `settle` also any other.
class BurstSender {
public:
    /// Sends a frame on which the interface has left to do what the header says, and waits for room or not;
    /// false when it could not leave. Called by the thread.
    using Send = std::function<bool(const offload::OffloadHeader& header, WireBytes frame, bool isPatient)>;

    /// Tells `listener` about each frame. Throws std::system_error without a thread.
    BurstSender(Send send, LinkListener& listener);
    ~BurstSender();
    BurstSender(const BurstSender&) = delete;
    BurstSender& operator=(const BurstSender&) = delete;

    /// Takes a copy of a frame that follows the one before closely, or one that has not left yet. False: the
    /// caller sends the frame, after `settle`.
    bool post(WireBytes frame) noexcept;
    /// Waits until all frames have left or are counted; false when they have not in time, by default as long
    /// as a sender waits.
    bool settle() const noexcept;
    bool settle(std::chrono::milliseconds limit) const noexcept;

    /// The interface does not refuse a joined frame of longer ones, so those are sent singly. Any thread.
    void setMtu(std::size_t bytes) noexcept { mtu_.store(bytes, std::memory_order_relaxed); }

private:
    static constexpr std::uint32_t slotCount = 256;
    static constexpr std::uint32_t ending = 1; // in tail_
    static constexpr std::uint32_t step = 2;   // of the positions, one slot
    struct Slot {
        std::uint32_t bytes;
        std::array<std::uint8_t, maxFrameBytes> content;
        WireBytes frame() const noexcept { return WireBytes(content).first(bytes); }
    };

    Slot& at(std::uint32_t position) noexcept { return slots_[position / step % slotCount]; }
    bool awaitRoom(std::uint32_t tail) const noexcept;
    bool awaitHead(std::uint32_t position, std::chrono::milliseconds limit) const noexcept;
    void run() noexcept;
    void awaitWork() noexcept;
    std::uint32_t collect(std::uint32_t head) noexcept;
    void sendCollected(WireBytes first) noexcept;
    void sendSingle(WireBytes frame) noexcept;
    void account(bool haveLeft, std::size_t frames, std::size_t bytes) noexcept;
    /// Behind the newest frame.
    std::uint32_t newest() const noexcept { return tail_.load(std::memory_order_acquire) & ~ending; }
    /// Frames behind one that waited in vain do not wait too: those in the FIFO could take seconds.
    bool isPatient() const noexcept {
        return hasRoom_ && (tail_.load(std::memory_order_relaxed) & ending) == 0;
    }

    const Send send_;
    LinkListener& listener_;
    const std::unique_ptr<Slot[]> slots_;
    std::atomic<std::size_t> mtu_{0};
    std::chrono::steady_clock::time_point lastPosted_{}; // the sender's
    alignas(64) std::atomic<std::uint32_t> tail_{0};     // of the newest frame, the sender's; with `ending`
    alignas(64) std::atomic<std::uint32_t> head_{0};     // all before have left; the thread's
    // 1: the thread sleeps, and nobody has woken it. Notifying is a system call, also for a thread that still
    // waits for a processor.
    std::atomic<std::uint32_t> sleeps_{0};
    bool framesKeepComing_ = false; // this and the next two are the thread's
    bool hasRoom_ = true;           // the interface took the last frame
    std::unique_ptr<offload::FrameJoin> join_;
    std::thread thread_;
};

} // namespace orvo::sim
