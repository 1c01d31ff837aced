// SPDX-License-Identifier: MIT
#pragma once

#include <boost/align/aligned_allocator.hpp>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace orvo::core::zume {

/// Buffer for the words of one transmission, all of them zero before each: whatever a read claims to have
/// delivered, it shows nothing of earlier frames. Who takes words out clears them (`takeFrame`), so a frame
/// that was taken whole leaves nothing to clear. Keeps its memory and only grows. Threads: one.
class WordBuffer {
public:
    /// Room for `bytes` bytes, all of them zero; first clears what was left of the transmission before. Valid
    /// until the next call. Running out of memory throws and changes nothing that shows.
    std::uint32_t* zeroed(std::uint32_t bytes) {
        const std::size_t count = (std::size_t{bytes} + 3) / 4;
        std::fill(words_.begin() + leftFrom_, words_.begin() + leftTo_, 0);
        leftFrom_ = leftTo_ = 0;
        if (count > words_.size()) words_.assign(count, 0);
        leftTo_ = static_cast<std::ptrdiff_t>(count);
        return words_.data();
    }

    /// The first `count` words were taken out and are zero again.
    void noteTaken(std::size_t count) { leftFrom_ = static_cast<std::ptrdiff_t>(count); }

private:
    static constexpr std::size_t cacheLineBytes = 64; // no vector of `takeFrame` crosses two
    std::vector<std::uint32_t, boost::alignment::aligned_allocator<std::uint32_t, cacheLineBytes>> words_;
    // What the last transmission may have left in the buffer, in words. All others are zero.
    std::ptrdiff_t leftFrom_ = 0;
    std::ptrdiff_t leftTo_ = 0;
};

} // namespace orvo::core::zume
