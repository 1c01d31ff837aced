// SPDX-License-Identifier: MIT
// Device handles of one board: numbers that look like pointers, and that can be recognised as open, released
// or foreign.
#pragma once

#include "config/Configuration.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <mutex>

namespace orvo::sim {

/// A handle: bits 48 to 63 a mark, 40 to 47 the board, 32 to 39 the slot, 0 to 31 how often the slot was
/// opened. It is never dereferenced, so old and wrong handles do no harm.
using HandleBits = std::uint64_t;

inline constexpr unsigned slotsPerBoard = 256;

class Board;

/// Where a handle is noted while it is open.
struct HandlePlace {
    /// The complement of the open handle. 0 before the first opening, and the handle itself after closing:
    /// neither equals the complement of a handle that belongs here.
    std::atomic<HandleBits> noted{0};
    std::atomic<Board*> board{nullptr}; ///< set before the first one was opened
};

/// The places of all boards' handles, board by board.
inline constexpr std::size_t handlePlaceCount = std::size_t{maxBoards} * slotsPerBoard;
extern std::array<HandlePlace, handlePlaceCount> handlePlaces;

inline HandlePlace& placeOf(HandleBits handle) noexcept {
    return handlePlaces[(handle >> 32) % handlePlaceCount];
}

/// The board of a device handle; null for one that is not open. Any thread; runs on every call of the host.
inline Board* openBoardOf(void* device) noexcept {
    const auto handle = reinterpret_cast<HandleBits>(device);
    const HandlePlace& place = placeOf(handle);
    if (place.noted.load(std::memory_order_acquire) == ~handle) [[likely]]
        return place.board.load(std::memory_order_relaxed);
    return nullptr;
}

class DeviceHandles {
public:
    DeviceHandles(Board& board, unsigned index) noexcept : board_(board), index_(index) {}

    /// A new handle; null when all slots are taken.
    void* open() noexcept;
    /// False when the handle is not open.
    bool close(HandleBits handle) noexcept;

    /// Whether a handle that is not open was open before. Any thread.
    static bool wasOpen(HandleBits handle) noexcept;

private:
    Board& board_;
    const unsigned index_;
    std::mutex mutex_; // taken to open and close
};

} // namespace orvo::sim
