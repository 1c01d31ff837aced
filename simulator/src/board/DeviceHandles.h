// Device handles of one board: numbers that look like pointers and can be told valid, released and foreign
// apart.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <mutex>

namespace orvo::sim {

/// A handle: bits 48 to 63 a mark, 40 to 47 the board, 32 to 39 the slot, 0 to 31 how often the slot was
/// opened. It is never followed as a pointer, so no handle, however old or wrong, can lead astray.
using HandleBits = std::uint64_t;

constexpr unsigned boardOfHandle(HandleBits handle) noexcept {
    return static_cast<unsigned>(handle >> 40) & 0xFF;
}

class DeviceHandles {
public:
    explicit DeviceHandles(unsigned board) noexcept : board_(board) {}

    /// A new handle; null when 256 are open.
    void* open() noexcept;
    /// False when the handle is not open.
    bool close(HandleBits handle) noexcept;

    /// Any thread, on every call of the host: one load.
    bool isOpen(HandleBits handle) const noexcept {
        return handle != 0 && slots_[slotOf(handle)].load(std::memory_order_acquire) == handle;
    }
    /// Of a handle that is not open: true when it was.
    bool wasOpen(HandleBits handle) const noexcept;

private:
    static constexpr unsigned slotOf(HandleBits handle) noexcept {
        return static_cast<unsigned>(handle >> 32) & 0xFF;
    }
    HandleBits handleOf(unsigned slot, std::uint32_t generation) const noexcept;

    const unsigned board_;
    std::mutex mutex_;                                          // taken to open and close
    std::array<std::atomic<HandleBits>, 256> slots_{};          // the open handle, 0 for none
    std::array<std::atomic<std::uint32_t>, 256> generations_{}; // how often each slot was opened
};

} // namespace orvo::sim
