// Giving out and taking back device handles.
#include "DeviceHandles.h"

namespace orvo::sim {

namespace {

constexpr HandleBits mark = HandleBits{0x0DE5} << 48; // no address of a user process looks like this

} // namespace

HandleBits DeviceHandles::handleOf(unsigned slot, std::uint32_t generation) const noexcept {
    return mark | HandleBits{board_} << 40 | HandleBits{slot} << 32 | generation;
}

void* DeviceHandles::open() noexcept {
    const std::lock_guard lock(mutex_);
    for (unsigned slot = 0; slot < slots_.size(); ++slot) {
        if (slots_[slot].load(std::memory_order_relaxed) != 0) continue;
        const auto generation = generations_[slot].fetch_add(1, std::memory_order_relaxed) + 1;
        const HandleBits handle = handleOf(slot, generation);
        slots_[slot].store(handle, std::memory_order_release);
        return reinterpret_cast<void*>(handle);
    }
    return nullptr;
}

bool DeviceHandles::close(HandleBits handle) noexcept {
    const std::lock_guard lock(mutex_);
    if (!isOpen(handle)) return false;
    slots_[slotOf(handle)].store(0, std::memory_order_release);
    return true;
}

bool DeviceHandles::wasOpen(HandleBits handle) const noexcept {
    const auto slot = slotOf(handle);
    const auto generation = static_cast<std::uint32_t>(handle);
    return handle == handleOf(slot, generation) && generation != 0 &&
           generation <= generations_[slot].load(std::memory_order_relaxed);
}

} // namespace orvo::sim
