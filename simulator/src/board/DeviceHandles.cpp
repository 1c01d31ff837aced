// SPDX-License-Identifier: MIT
// Opening and closing device handles.
#include "board/DeviceHandles.h"

namespace orvo::sim {

namespace {

constexpr HandleBits mark = 0x0DE5; // no address of a user process begins like this

bool isOpen(HandleBits noted) noexcept {
    return ~noted >> 48 == mark;
}

} // namespace

constinit std::array<HandlePlace, handlePlaceCount> handlePlaces{};

void* DeviceHandles::open() noexcept {
    const std::lock_guard lock(mutex_);
    for (unsigned slot = 0; slot < slotsPerBoard; ++slot) {
        const HandleBits upper = mark << 48 | HandleBits{index_} << 40 | HandleBits{slot} << 32;
        HandlePlace& place = placeOf(upper);
        const HandleBits noted = place.noted.load(std::memory_order_relaxed);
        if (isOpen(noted)) continue;
        const HandleBits handle = upper | (static_cast<std::uint32_t>(noted) + 1);
        place.board.store(&board_, std::memory_order_release);
        place.noted.store(~handle, std::memory_order_release);
        return reinterpret_cast<void*>(handle); // NOLINT(performance-no-int-to-ptr): never followed
    }
    return nullptr;
}

bool DeviceHandles::close(HandleBits handle) noexcept {
    const std::lock_guard lock(mutex_);
    HandlePlace& place = placeOf(handle);
    if (place.noted.load(std::memory_order_relaxed) != ~handle) return false;
    place.noted.store(handle, std::memory_order_release);
    return true;
}

bool DeviceHandles::wasOpen(HandleBits handle) noexcept {
    const HandleBits noted = placeOf(handle).noted.load(std::memory_order_acquire);
    const HandleBits last = isOpen(noted) ? ~noted : noted; // 0 where there was none
    const auto generation = static_cast<std::uint32_t>(handle);
    return handle >> 32 == last >> 32 && generation != 0 && generation <= static_cast<std::uint32_t>(last);
}

} // namespace orvo::sim
