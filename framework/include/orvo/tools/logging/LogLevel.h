// SPDX-License-Identifier: MIT
// Levels of log messages, and the thresholds that they are compared with.
#pragma once

#include <cstdint>

namespace orvo::tools::logging {

/// The levels in use; a higher number is more important. Other numbers pass through unchanged.
enum class LogLevel : std::uint32_t { Detail = 2, Information = 3, Warning = 4, Error = 5 };

/// A message of level L passes a threshold T when L >= T. Thresholds go from 0, which lets everything pass,
/// to this one, which refuses every level in use.
inline constexpr std::uint32_t highestThreshold = 7;

} // namespace orvo::tools::logging
