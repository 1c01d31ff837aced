// SPDX-License-Identifier: MIT
// Numbers as users write them: digits and nothing else, no sign, no blank, no other base.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace orvo::host {

/// More than anything that the program counts comes to.
inline constexpr std::uint64_t largestNumber = 1'000'000'000'000'000;

/// What the whole of `text` says; nothing when it is no number, or a larger one.
std::optional<std::uint64_t> wholeNumber(std::string_view text);

/// The same of "2", "0.5" or "1e-3"; never negative, infinite or no number.
std::optional<double> decimalNumber(std::string_view text);

} // namespace orvo::host
