// SPDX-License-Identifier: MIT
// Texts that failures are made of.
#include "app/Failure.h"

#include <algorithm>
#include <system_error>

namespace orvo::host {

std::string quoted(const std::string& text) {
    std::string quotation = "'" + text + "'";
    std::replace_if(
        quotation.begin(), quotation.end(), [](unsigned char c) { return c < 0x20 || c == 0x7F; }, '?');
    return quotation;
}

std::string systemError(int number) {
    return std::generic_category().message(number);
}

} // namespace orvo::host
