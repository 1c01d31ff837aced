// SPDX-License-Identifier: MIT
// Everything that arrives at a network interface, by a packet socket.
#pragma once

#include "base/Descriptor.h"
#include "wire/FrameDevice.h"

#include <offload/OffloadHeader.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <memory>
#include <span>

namespace orvo::sim {

/// The memory that the kernel shares with a packet socket.
struct UnmapRing {
    std::size_t bytes = 0;
    void operator()(std::uint8_t* ring) const noexcept;
};

class PacketSocket final : public FrameDevice {
public:
    /// Not attached yet. Throws WireError.
    explicit PacketSocket(const std::string& interface);

    int descriptor() const noexcept override { return socket_.get(); }
    int attach(int index) noexcept override;
    void clearError() noexcept override;
    void receive(FrameSink& port) noexcept override;
    int send(const offload::OffloadHeader& offload, WireBytes frame) noexcept override;
    bool takesJoined() const noexcept override { return true; }

private:
    bool shareRing(std::size_t bytes) noexcept;
    bool takeSlot(FrameSink& port) noexcept;
    void handOn(std::uint8_t* slot, FrameSink& port) noexcept;
    std::span<std::uint8_t> takeLong(offload::OffloadHeader& offload) noexcept;
    void deliver(const offload::OffloadHeader& offload, std::span<std::uint8_t> frame,
                 FrameSink& port) noexcept;
    void awaitRoom(const FrameSink& port, std::chrono::nanoseconds& patience) noexcept;
    void countLost(FrameSink& port) noexcept;

    const Descriptor socket_;
    std::unique_ptr<std::uint8_t, UnmapRing> ring_;
    std::size_t slots_ = 0;
    std::size_t next_ = 0;  // the next slot to read
    bool isLosing_ = false; // the kernel had no free slot for a frame
    std::array<std::uint8_t, offload::OffloadHeader::longestFrame> long_;
};

} // namespace orvo::sim
