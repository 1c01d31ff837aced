// SPDX-License-Identifier: MIT
// Texts that go out to callers.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string_view>

namespace orvo::sim {

/// NUL-terminated, cut to `outBytes`; a null `out` wants none.
inline void copyText(std::string_view text, char* out, std::size_t outBytes) noexcept {
    if (!out || outBytes == 0) return;
    const std::size_t length = std::min(text.size(), outBytes - 1);
    std::memcpy(out, text.data(), length);
    out[length] = '\0';
}

} // namespace orvo::sim
