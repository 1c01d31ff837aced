// SPDX-License-Identifier: MIT
// Text that leaves the simulation: messages that quote what a user wrote, and C strings for callers.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string>
#include <string_view>

namespace orvo::sim {

/// Replaces control characters by '?', so that a message stays on one line and cannot control the terminal.
inline std::string oneLine(std::string text) {
    std::replace_if(
        text.begin(), text.end(), [](unsigned char c) { return c < 0x20 || c == 0x7F; }, '?');
    return text;
}

/// Copies the text NUL-terminated, cut to `outBytes`; does nothing when `out` is null.
inline void copyText(std::string_view text, char* out, std::size_t outBytes) noexcept {
    if (!out || outBytes == 0) return;
    const std::size_t length = std::min(text.size(), outBytes - 1);
    std::memcpy(out, text.data(), length);
    out[length] = '\0';
}

} // namespace orvo::sim
