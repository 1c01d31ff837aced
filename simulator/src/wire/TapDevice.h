// SPDX-License-Identifier: MIT
// A TAP interface: a network interface of the machine whose cable ends in this program.
#pragma once

#include "base/Descriptor.h"
#include "wire/FrameDevice.h"

#include <array>
#include <cstdint>

namespace orvo::sim {

class TapDevice final : public FrameDevice {
public:
    /// Attaches to the existing TAP of this name, or makes one that goes with this object. Throws WireError.
    explicit TapDevice(const std::string& interface);

    int descriptor() const noexcept override { return device_.get(); }
    int attach(int index) noexcept override;
    void receive(FrameSink& port) noexcept override;
    int send(const offload::OffloadHeader& offload, WireBytes frame) noexcept override;

private:
    int join() noexcept;

    const Descriptor device_;
    std::array<std::uint8_t, maxWireBytes + 1> buffer_; // one byte more, to notice frames that are too long
};

} // namespace orvo::sim
