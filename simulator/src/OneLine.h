// SPDX-License-Identifier: MIT
// Messages that quote what a person gave.
#pragma once

#include <algorithm>
#include <string>

namespace orvo::sim {

/// The text with a question mark for every control character, so that a message is one line whatever it
/// quotes.
inline std::string oneLine(std::string text) {
    std::replace_if(
        text.begin(), text.end(), [](unsigned char c) { return c < 0x20 || c == 0x7F; }, '?');
    return text;
}

} // namespace orvo::sim
