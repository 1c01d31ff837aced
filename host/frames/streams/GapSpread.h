// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstdint>

namespace orvo::host {

/// The least, median and greatest of many durations, in constant memory: values fall into classes of at most
/// 3 % of their size. Nanoseconds; negative ones count as 0.
class GapSpread {
public:
    void add(std::int64_t gap) noexcept;

    std::uint64_t count() const noexcept { return count_; }
    std::int64_t least() const noexcept { return least_; }
    std::int64_t greatest() const noexcept { return greatest_; }
    /// Within 1.6 % of the true one. 0 when nothing was added.
    std::int64_t median() const noexcept;

private:
    static constexpr unsigned classBits = 5;   // classes of an octave: 2 to this power
    static constexpr unsigned mostOctave = 47; // 2^47 ns are 39 hours
    static constexpr std::size_t classes = (mostOctave - classBits + 2) << classBits;

    static std::size_t classOf(std::uint64_t value) noexcept;
    static std::int64_t middleOf(std::size_t index) noexcept;

    std::array<std::uint32_t, classes> counts_{};
    std::uint64_t count_ = 0;
    std::int64_t least_ = 0, greatest_ = 0;
};

} // namespace orvo::host
