// SPDX-License-Identifier: MIT
// The parts of a data queue that other processes see.
#pragma once

#include <atomic>
#include <bit>
#include <cstddef>
#include <cstdint>

namespace orvo::sim {

/// Beside the ring of words, in memory that the queue's process writes. Positions count words since the queue
/// was made.
struct QueueWindow {
    alignas(64) std::atomic<std::uint64_t> tail{0};    ///< behind the newest word
    alignas(64) std::atomic<std::uint64_t> clearTo{0}; ///< words before it are dropped
    std::atomic<std::uint32_t> reader{0};              ///< the program that reads; 0: none but this process
    std::uint32_t capacityWords = 0;
    std::uint64_t ringOffset = 0; ///< of the ring, in bytes from the window

    /// The power of two that holds the capacity.
    static constexpr std::size_t ringWords(std::size_t capacityWords) noexcept {
        return std::bit_ceil(capacityWords);
    }
    const std::uint32_t* ring() const noexcept {
        return reinterpret_cast<const std::uint32_t*>(reinterpret_cast<const std::byte*>(this) + ringOffset);
    }
    /// The lower half of the tail, to sleep on.
    const void* bell() const noexcept { return &tail; }
};
static_assert(std::endian::native == std::endian::little, "the lower half of a word comes first");

/// A reader of another process, in memory that it writes.
struct ReaderPlace {
    alignas(64) std::atomic<std::uint64_t> position{0};
    std::atomic<std::uint32_t> isAsleep{0}; ///< wants to be woken by new words
};

} // namespace orvo::sim
