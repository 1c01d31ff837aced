// SPDX-License-Identifier: MIT
// Texts that failures are made of.
#include "base/Failure.h"

#include <algorithm>
#include <system_error>

namespace orvo::host {

std::string oneLine(std::string text) {
    std::ranges::replace_if(
        text, [](unsigned char c) { return c < 0x20 || c == 0x7F; }, '?');
    return text;
}

std::string quoted(const std::string& text) {
    return "'" + oneLine(text) + "'";
}

std::string systemError(int number) {
    return std::generic_category().message(number);
}

} // namespace orvo::host
