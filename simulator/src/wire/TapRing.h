// SPDX-License-Identifier: MIT
// The memory through which a board shows the frames of a port's cable to one listener.
#pragma once

#include "wire/WireFrame.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

namespace orvo::sim {

enum class TapDirection : std::uint8_t { Received, Sent };

/// How far frames have been written or read: their number, and the units of content that they took. Both
/// wrap around.
struct TapPosition {
    std::uint32_t frames = 0;
    std::uint32_t units = 0;
};

/// What the board knows of one frame. Complete once `number` is the frame's.
struct TapSlot {
    std::atomic<std::uint32_t> number{0}; ///< of the frame, counted from 1
    std::uint32_t firstUnit = 0;          ///< of its content
    std::int64_t time = 0;                ///< nanoseconds since 1970 on the board's clock
    std::uint32_t bytes = 0;              ///< of the frame as it was handed over
    std::uint16_t keptBytes = 0;          ///< of those in the ring
    TapDirection direction{};
    std::uint8_t isSealed = 0; ///< it has its check sequence; else that is right, and the listener adds it
    std::uint8_t fate = 0;     ///< an OrvoSimFate
};

/// The board writes all of it but `taken`. It reads nothing but `taken`, where any value does no harm.
struct TapRing {
    static constexpr std::uint32_t slots = 1U << 16;
    static constexpr std::size_t unitBytes = 16;
    static constexpr std::uint32_t units = (8U << 20) / unitBytes; // 67 ms of full frames at a gigabit
    static constexpr std::size_t mostKeptBytes = 2048;             // no port sends or takes a longer frame

    static constexpr std::uint32_t unitsOf(std::size_t bytes) noexcept {
        return static_cast<std::uint32_t>((bytes + unitBytes - 1) / unitBytes);
    }

    alignas(64) std::atomic<TapPosition> taken{TapPosition{}};      ///< the listener's
    alignas(64) std::array<std::atomic<std::uint64_t>, 2> missed{}; ///< frames without room, by direction
    alignas(64) std::array<TapSlot, slots> slot;
    alignas(64) std::array<std::uint8_t, units * unitBytes> content;
};
static_assert(std::atomic<TapPosition>::is_always_lock_free);

} // namespace orvo::sim
