// SPDX-License-Identifier: MIT
// The memory that one program shares with the server for one board: frames on their way to the transmitters,
// and how far the program has read the queues. Both sides write it, and the server trusts nothing in it.
#pragma once

#include "board/BoardPage.h"
#include "mac/QueueWindow.h"
#include "mac/Transmitter.h"

#include <array>
#include <atomic>
#include <cstdint>

namespace orvo::sim {

/// The writes to a port's transmit buffer up to one that completes a frame.
struct TransmitSlot {
    std::atomic<std::uint32_t> units{0};  ///< appended, of 16 bits; may exceed the buffer
    std::atomic<std::uint32_t> begins{0}; ///< the buffer was emptied before
    std::array<std::uint8_t, Transmitter::bufferBytes> bytes;

    void empty() noexcept {
        units.store(0, std::memory_order_relaxed);
        begins.store(0, std::memory_order_relaxed);
    }
};

/// Frames of one port, in order. Positions count frames.
struct TransmitRing {
    static constexpr std::uint32_t slots = 64;
    /// One is open for the next frame, and empty until it begins.
    static constexpr std::uint32_t usable = slots - 1;

    alignas(64) std::atomic<std::uint32_t> published{0}; ///< the program's; the server sleeps on it
    alignas(64) std::atomic<std::uint32_t> consumed{0};  ///< the server's
    std::atomic<std::uint32_t> isAsleep{0};              ///< the server wants to be woken by frames
    alignas(64) std::array<TransmitSlot, slots> slot;

    TransmitSlot& at(std::uint32_t position) noexcept { return slot[position % slots]; }
};

struct Channel {
    std::array<TransmitRing, maxPorts> rings;
    std::array<std::array<ReaderPlace, queuesPerPort>, maxPorts> readers;
};

} // namespace orvo::sim
