// SPDX-License-Identifier: MIT
#pragma once

#include "frames/Packet.h"

#include <cstdint>
#include <optional>
#include <string_view>

namespace orvo::host {

/// Errors of a frame on the wire, as the flags of an enhanced packet block have them.
enum FrameErrors : std::uint32_t {
    CheckSequenceError = 1U << 24,
    TooLongError = 1U << 25,
    TooShortError = 1U << 26,
};

enum class FrameDirection : std::uint32_t { Unknown = 0, Received = 1, Sent = 2 }; // in those flags, too

/// Where a frame died that reached a port, or that it was to send.
enum class DeathPlace : std::uint8_t {
    ReceiveQueue, ///< it had no room
    DamagedFrame, ///< wrong check sequence or length
    NoLink,
    ReceiverOff,
    NotSent
};
inline constexpr std::size_t deathPlaces = 5;

/// Comments of frames that died, by which a reader of the file knows the place. Those that only begin with
/// the first two: DamagedFrame, NotSent.
inline constexpr std::string_view droppedComment = "dropped: ", notSentComment = "not sent: ",
                                  queueFullComment = "dropped: receive queue full",
                                  linkDownComment = "dropped: link down",
                                  receiverOffComment = "dropped: receiver off";

/// A frame on its way into a capture; bytes and comment belong to others. What a port hands over has bytes
/// only.
struct OutputFrame {
    Bytes bytes;
    std::optional<std::uint64_t> time = {}; ///< nanoseconds since 1970; nothing: the present
    std::uint32_t interface = 0;            ///< its number in a file
    std::uint32_t wireBytes = 0;            ///< 0: as many as there are bytes
    FrameDirection direction = FrameDirection::Unknown;
    unsigned fcsBytes = 0;                 ///< of the check sequence that ends a frame
    std::uint32_t errors = 0;              ///< FrameErrors
    std::optional<DeathPlace> diedAt = {}; ///< nothing: it passed
    std::string_view comment = {};         ///< for people; empty: none

    Bytes withoutFcs() const noexcept {
        return bytes.first(bytes.size() - (bytes.size() >= fcsBytes ? fcsBytes : 0));
    }
};

} // namespace orvo::host
