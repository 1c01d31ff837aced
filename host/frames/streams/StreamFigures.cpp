// SPDX-License-Identifier: MIT
#include "frames/streams/StreamFigures.h"

#include <numeric>

namespace orvo::host {

const char* imageEndText(ImageEnd end) noexcept {
    constexpr std::array<const char*, imageEnds> texts = {
        "complete", "complete after resend", "incomplete", "never ended", "absent", "too large to follow"};
    return texts[static_cast<std::size_t>(end)];
}

std::uint64_t StreamFigures::damaged() const noexcept {
    return std::accumulate(images.begin(), images.end(), std::uint64_t{0}) - whole();
}

double StreamFigures::imagesPerSecond() const noexcept {
    const auto time = lastBegin - firstBegin;
    return begun > 1 && time > 0 ? static_cast<double>(begun - 1) * 1e9 / static_cast<double>(time) : 0;
}

} // namespace orvo::host
