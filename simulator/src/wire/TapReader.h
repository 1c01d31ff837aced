// SPDX-License-Identifier: MIT
// The listener's side of listening at a port's cable.
#pragma once

#include "wire/TapRing.h"

#include <orvo/sim/orvo_sim.h>

#include <chrono>
#include <functional>
#include <span>

namespace orvo::sim {

/// One thread at a time, and one reader for a ring.
class TapReader {
public:
    explicit TapReader(TapRing& ring) noexcept : ring_(ring) {}

    /// Takes the next frame, with its check sequence; the bytes that `room` cannot hold are left out. False
    /// when there is none.
    bool take(OrvoSimTapFrame& frame, std::span<std::uint8_t> room) noexcept;
    /// Waits for a frame; false when none comes within `limit`, or `isOver` says that none will.
    bool await(std::chrono::milliseconds limit, const std::function<bool()>& isOver);
    std::uint64_t missed(TapDirection direction) const noexcept {
        return ring_.missed[static_cast<std::size_t>(direction)].load(std::memory_order_relaxed);
    }

private:
    const TapSlot* next() const noexcept;
    std::size_t copyOut(const TapSlot& slot) noexcept;

    TapRing& ring_;
    TapPosition position_;
    std::array<std::uint8_t, TapRing::mostKeptBytes + fcsBytes> frame_{};
};

} // namespace orvo::sim
