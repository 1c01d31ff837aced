// SPDX-License-Identifier: MIT
#include "frames/streams/GapSpread.h"

#include <algorithm>
#include <bit>

namespace orvo::host {

void GapSpread::add(std::int64_t gap) noexcept {
    gap = std::max<std::int64_t>(gap, 0);
    least_ = count_ == 0 ? gap : std::min(least_, gap);
    greatest_ = std::max(greatest_, gap);
    ++count_;
    ++counts_[classOf(static_cast<std::uint64_t>(gap))];
}

std::int64_t GapSpread::median() const noexcept {
    std::uint64_t passed = 0;
    for (std::size_t i = 0; i < classes; ++i)
        if ((passed += counts_[i]) * 2 >= count_ && passed != 0)
            return std::clamp(middleOf(i), least_, greatest_);
    return 0;
}

// Values under 2^classBits have a class each; above, the bits behind the leading one choose it.
std::size_t GapSpread::classOf(std::uint64_t value) noexcept {
    constexpr std::uint64_t each = 1u << classBits;
    if (value < each) return static_cast<std::size_t>(value);
    const auto octave = static_cast<unsigned>(std::bit_width(value)) - 1;
    if (octave > mostOctave) return classes - 1;
    return static_cast<std::size_t>(((octave - classBits + 1) << classBits) +
                                    ((value >> (octave - classBits)) - each));
}

std::int64_t GapSpread::middleOf(std::size_t index) noexcept {
    constexpr std::size_t each = 1u << classBits;
    if (index < each) return static_cast<std::int64_t>(index);
    const auto shift = index / each - 1;
    return static_cast<std::int64_t>(((each + index % each) << shift) + (std::size_t{1} << shift) / 2);
}

} // namespace orvo::host
