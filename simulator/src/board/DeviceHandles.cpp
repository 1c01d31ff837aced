// SPDX-License-Identifier: MIT
// Giving out and taking back device handles.
#include "board/DeviceHandles.h"

namespace orvo::sim {

namespace {

constexpr HandleBits mark = HandleBits{0x0DE5} << 48; // no address of a user process looks like this

constexpr unsigned slotOf(HandleBits handle) noexcept {
    return static_cast<unsigned>(handle >> 32) % slotsPerBoard;
}

/// A handle as hosts have it. It is never followed.
void* pointerOf(HandleBits handle) noexcept {
    return reinterpret_cast<void*>(handle); // NOLINT(performance-no-int-to-ptr)
}

} // namespace

constinit std::array<HandlePlace, handlePlaceCount> handlePlaces{};

HandleBits DeviceHandles::handleOf(unsigned slot, std::uint32_t generation) const noexcept {
    return mark | HandleBits{index_} << 40 | HandleBits{slot} << 32 | generation;
}

void* DeviceHandles::open() noexcept {
    const std::lock_guard lock(mutex_);
    for (unsigned slot = 0; slot < slotsPerBoard; ++slot) {
        const auto generation = generations_[slot].load(std::memory_order_relaxed);
        if (openBoardOf(pointerOf(handleOf(slot, generation)))) continue;
        generations_[slot].store(generation + 1, std::memory_order_relaxed);
        const HandleBits handle = handleOf(slot, generation + 1);
        HandlePlace& place = placeOf(handle);
        place.board.store(&board_, std::memory_order_release);
        place.noted.store(~handle, std::memory_order_release);
        return pointerOf(handle);
    }
    return nullptr;
}

bool DeviceHandles::close(HandleBits handle) noexcept {
    const std::lock_guard lock(mutex_);
    if (openBoardOf(pointerOf(handle)) != &board_) return false;
    placeOf(handle).noted.store(handle, std::memory_order_release);
    return true;
}

bool DeviceHandles::wasOpen(HandleBits handle) const noexcept {
    const auto slot = slotOf(handle);
    const auto generation = static_cast<std::uint32_t>(handle);
    return handle == handleOf(slot, generation) && generation != 0 &&
           generation <= generations_[slot].load(std::memory_order_relaxed);
}

} // namespace orvo::sim
