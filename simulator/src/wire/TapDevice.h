// SPDX-License-Identifier: MIT
// A TAP interface, whose network is this program.
#pragma once

#include "base/Descriptor.h"
#include "wire/FrameDevice.h"

#include <array>
#include <cstdint>

namespace orvo::sim {

class TapDevice final : public FrameDevice {
public:
    /// Attached: to the TAP of this name that is there, else to a new one that ends with this object. Throws
    /// WireError.
    explicit TapDevice(const std::string& interface);

    int descriptor() const noexcept override { return device_.get(); }
    int attach(int index) noexcept override;
    void receive(FrameSink& port) noexcept override;
    int send(WireBytes frame) noexcept override;

private:
    int join() noexcept;

    const std::string name_;
    const Descriptor device_;
    std::array<std::uint8_t, maxWireBytes + 1> buffer_; // a byte more than any frame that is not too long
};

} // namespace orvo::sim
