// SPDX-License-Identifier: MIT
// How much went one way.
#pragma once

#include <cstddef>
#include <cstdint>

namespace orvo::host {

struct FrameCount {
    std::uint64_t frames = 0;
    std::uint64_t bytes = 0; ///< without frame check sequence

    void add(std::size_t frameBytes) noexcept {
        ++frames;
        bytes += frameBytes;
    }
};

} // namespace orvo::host
