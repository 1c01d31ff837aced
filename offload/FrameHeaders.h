// SPDX-License-Identifier: MIT
// Where the headers of a frame begin and end.
#pragma once

#include "OffloadHeader.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <variant>

namespace orvo::offload {

/// Why a joined frame cannot be cut.
enum class Uncuttable {
    Encapsulated, ///< what is to be cut is inside another IP packet, or in a tunnel over UDP
    Unknown,      ///< protocols or extension headers that cannot be repeated in each segment
    TooLong,      ///< longer than an IP packet's length field can say
    Broken        ///< its headers contradict each other
};
inline constexpr std::size_t uncuttableCount = 4;

/// Offsets in a frame of TCP or UDP with payload. All are within the frame.
struct FrameHeaders {
    std::size_t network = 0;   ///< of the IP header
    std::size_t transport = 0; ///< of the TCP or UDP header
    std::size_t payload = 0;   ///< the first byte behind the headers
    std::size_t end = 0;       ///< the first byte behind the payload
    bool isIpv6 = false;
    bool isTcp = false;
};

/// `frame` may be cut off behind its headers; `frameBytes` is its whole length. Offsets are then within that.
std::variant<FrameHeaders, Uncuttable> readHeaders(const OffloadHeader& header,
                                                   std::span<const std::uint8_t> frame,
                                                   std::size_t frameBytes) noexcept;

/// The same for a whole frame, about which the system says nothing.
std::variant<FrameHeaders, Uncuttable> readHeaders(std::span<const std::uint8_t> frame,
                                                   std::size_t frameBytes) noexcept;

} // namespace orvo::offload
