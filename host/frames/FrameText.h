// SPDX-License-Identifier: MIT
// A frame as one line for people: addresses, type, length, and what matters of the protocols in it.
#pragma once

#include "frames/Packet.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <string>

namespace orvo::host {

struct GigeStreamPacket;

/// Describes the frames of one port, in order. GigE Vision streams have no port number of their own: a flow
/// counts as one from its first leader on, and the last 16 such flows are remembered. One thread.
class FrameDescriber {
public:
    /// "SOURCE > DESTINATION TYPE LENGTH DETAILS"; addresses are the frame's own, the length is in bytes
    /// without frame check sequence. Of the frame's content, the line shows only addresses and numbers.
    std::string describe(Bytes frame);

private:
    struct Flow {
        std::array<std::uint8_t, 18> key{}; // destination address and UDP port
        bool isUsed = false;
    };

    std::string describeIp(const IpPacket& ip);
    std::string describeUdp(const IpPacket& ip, const UdpDatagram& udp);
    bool isStream(const IpPacket& ip, const UdpDatagram& udp, const GigeStreamPacket& packet);

    std::array<Flow, 16> streams_{};
    std::size_t oldest_ = 0;
};

/// "HH:MM:SS.uuuuuu", in UTC.
std::string clockText(std::chrono::system_clock::time_point time);

} // namespace orvo::host
