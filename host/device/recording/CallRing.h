// SPDX-License-Identifier: MIT
// A bounded ring of records from one thread to another, without a lock.
#pragma once

#include "device/recording/RawCall.h"

#include <atomic>
#include <memory>

namespace orvo::host {

/// Each record lies in one piece. A record that finds no room is counted, and a Gap tells of it once there is
/// room again. One thread adds, one takes.
class CallRing {
public:
    static constexpr std::size_t capacity = std::size_t{16}
                                            << 20U; ///< pages that are never used take no memory

    /// Room for a record of `bytes`, a multiple of 8; null when there is none. `publish` hands it over.
    std::byte* reserve(std::size_t bytes) noexcept {
        if (bytes > capacity / 4 || (gap_ != 0 && !addGap())) return lose();
        std::byte* const room = place(bytes);
        return room ? room : lose();
    }
    void publish(std::size_t bytes) noexcept {
        head_ += bytes;
        published_.store(head_, std::memory_order_release);
    }

    /// Calls `take(record)` for each record that is there. Its room is free again afterwards. Returns how
    /// many bytes were there.
    template <class Take> std::uint64_t drain(const Take& take) {
        const auto begin = tail_.load(std::memory_order_relaxed);
        auto tail = begin;
        for (const auto end = published_.load(std::memory_order_acquire); tail != end;) {
            const std::byte* const record = ring_.get() + tail % capacity;
            std::uint32_t bytes = 0;
            std::memcpy(&bytes, record, sizeof bytes);
            take(record);
            tail += bytes;
            tail_.store(tail, std::memory_order_release);
        }
        return tail - begin;
    }

    /// Calls that found no room so far and that no Gap has told of. The taking thread, once the other has
    /// ended.
    std::uint64_t untoldLoss() const noexcept { return gap_; }

private:
    std::byte* lose() noexcept {
        ++gap_;
        return nullptr;
    }

    bool hasRoom(std::size_t bytes) noexcept {
        if (head_ + bytes - seenTail_ <= capacity) return true;
        seenTail_ = tail_.load(std::memory_order_acquire);
        return head_ + bytes - seenTail_ <= capacity;
    }

    std::byte* place(std::size_t bytes) noexcept {
        const auto untilEnd = capacity - head_ % capacity;
        if (untilEnd >= bytes) return hasRoom(bytes) ? ring_.get() + head_ % capacity : nullptr;
        if (!hasRoom(untilEnd + bytes)) return nullptr;
        pad(static_cast<std::uint32_t>(untilEnd));
        return ring_.get();
    }

    /// The padding may be shorter than a head: its length and kind are all that is read of it.
    void pad(std::uint32_t bytes) noexcept {
        std::byte* const rest = ring_.get() + head_ % capacity;
        std::memcpy(rest, &bytes, sizeof bytes);
        std::memset(rest + offsetof(RawCall, kind), static_cast<int>(RawKind::Padding), 1);
        publish(bytes);
    }

    bool addGap() noexcept {
        const RawCall gap{sizeof(RawCall), {}, 0, RawKind::Gap, 0, 0, gap_, 0};
        std::byte* const room = place(sizeof gap);
        if (!room) return false;
        std::memcpy(room, &gap, sizeof gap);
        publish(sizeof gap);
        gap_ = 0;
        return true;
    }

    const std::unique_ptr<std::byte[]> ring_{new std::byte[capacity]};
    std::uint64_t head_ = 0, seenTail_ = 0, gap_ = 0; // the adding thread's
    alignas(64) std::atomic<std::uint64_t> published_{0};
    alignas(64) std::atomic<std::uint64_t> tail_{0};
};

} // namespace orvo::host
