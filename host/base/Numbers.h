// SPDX-License-Identifier: MIT
// Numbers that users type: decimal, without sign or blanks.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace orvo::host {

/// Larger than any count of the program.
inline constexpr std::uint64_t largestNumber = 1'000'000'000'000'000;

/// The number that the whole text forms; nothing when it is not a number, or above `largestNumber`.
std::optional<std::uint64_t> wholeNumber(std::string_view text);

/// Reads "2", "0.5" or "1e-3"; nothing when the text is not a number, or a negative or infinite one.
std::optional<double> decimalNumber(std::string_view text);

/// For measured seconds in reports, which are not more precise.
double wholeMilliseconds(double seconds);

} // namespace orvo::host
