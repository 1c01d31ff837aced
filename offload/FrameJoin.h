// SPDX-License-Identifier: MIT
// Joins frames into one that the system takes at once.
#pragma once

#include "FrameHeaders.h"

#include <array>

namespace orvo::offload {

/// A frame with what is left to do on it.
struct UnfinishedFrame {
    OffloadHeader header;
    std::span<std::uint8_t> bytes; ///< may be cut in place
};

/// Joins consecutive frames of one TCP stream: what FrameCut would cut into exactly these frames. Each
/// frame's checksums are verified before it is joined. Nothing is allocated.
class FrameJoin {
public:
    /// Copies the frame if others may follow it in a joined one, or if it continues this one. False: nothing
    /// has changed.
    bool add(std::span<const std::uint8_t> frame) noexcept;

    /// How many frames it holds.
    std::size_t frames() const noexcept { return frames_; }
    /// Whether another frame might be added.
    bool isOpen() const noexcept { return isOpen_; }

    /// The joined frame, or the only one as it came. Empties this; the bytes stay until the next `add`.
    UnfinishedFrame take() noexcept;

private:
    bool begin(std::span<const std::uint8_t> frame) noexcept;
    bool continues(std::span<const std::uint8_t> frame) const noexcept;
    void append(std::span<const std::uint8_t> frame, std::size_t from) noexcept;
    OffloadHeader header() const noexcept;
    void finish(std::span<std::uint8_t> joined) const noexcept;

    FrameHeaders at_; // of the first frame, and so of all
    std::size_t segmentBytes_ = 0;
    std::size_t frames_ = 0;
    std::size_t size_ = 0;
    bool isOpen_ = true;
    std::array<std::uint8_t, OffloadHeader::longestFrame> bytes_;
};

} // namespace orvo::offload
