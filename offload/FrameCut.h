// SPDX-License-Identifier: MIT
// Cuts a joined frame into those that a network card makes of it.
#pragma once

#include "FrameHeaders.h"

#include <array>
#include <optional>

namespace orvo::offload {

/// Hands out the finished frames of one that the system left to its network card. They are made in place:
/// headers go in front of their payload, over the end of the frame before. So each is good until the next is
/// made. One that is not joined is handed out as it is, with its checksum finished. Nothing is allocated, and
/// no byte outside `frame` is touched.
class FrameCut {
public:
    FrameCut(const OffloadHeader& header, std::span<std::uint8_t> frame) noexcept;

    /// Then there are no frames.
    std::optional<Uncuttable> refusal() const noexcept { return refusal_; }
    /// Empty after the last.
    std::span<std::uint8_t> next() noexcept;

private:
    void begin(const OffloadHeader& header) noexcept;
    void finishNetwork(std::span<std::uint8_t> segment) const noexcept;
    void finishTcp(std::span<std::uint8_t> segment, bool isLast) const noexcept;
    void finishUdp(std::span<std::uint8_t> segment) const noexcept;

    static constexpr std::size_t mostHeaderBytes = 512;

    const std::span<std::uint8_t> frame_;
    std::optional<Uncuttable> refusal_;
    bool isJoined_;
    FrameHeaders at_;
    std::size_t segmentBytes_ = 0;
    std::size_t position_ = 0;                          // of the next segment's payload
    std::size_t count_ = 0;                             // of segments made
    bool hasChecksum_ = true;                           // UDP may come without
    std::array<std::uint8_t, mostHeaderBytes> headers_; // as they were, since segments overwrite them
};

/// How many frames a joined one would be cut into, of which only the beginning is known; 1 where it cannot be
/// cut.
std::size_t framesInside(const OffloadHeader& header, std::span<const std::uint8_t> beginning,
                         std::size_t frameBytes) noexcept;

} // namespace orvo::offload
