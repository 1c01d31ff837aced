// SPDX-License-Identifier: MIT
// A packet socket at each end of a veth pair: what the kernel's own way of moving a whole frame costs.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace orvo::bench {

/// In a network namespace of its own, which goes with it. One thread.
class PacketPair {
public:
    /// Null, with the reason, where namespaces cannot be made.
    static std::unique_ptr<PacketPair> make(std::string& obstacle);
    ~PacketPair();
    PacketPair(const PacketPair&) = delete;
    PacketPair& operator=(const PacketPair&) = delete;

    /// Sends a frame and takes it in at the far end; false when it did not come within a second.
    bool pass(const std::vector<std::uint8_t>& frame);

private:
    PacketPair(int near, int far) : near_(near), far_(far) {}

    const int near_;
    const int far_;
    std::vector<std::uint8_t> received_ = std::vector<std::uint8_t>(2048);
};

} // namespace orvo::bench
