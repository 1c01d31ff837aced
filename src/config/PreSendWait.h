// SPDX-License-Identifier: MIT
// The time that a port waits before each frame.
#pragma once

#include <cstdint>
#include <optional>

namespace orvo::templates::platform {

inline constexpr const char* preSendWaitVariable = "ORVO_PRE_SEND_WAIT_TIME";

/// Milliseconds, as the variable's text says; nothing when there is none (null), or when it does not begin
/// with a number from 0 to 4294967295.
std::optional<std::uint32_t> preSendWaitMs(const char* text);

} // namespace orvo::templates::platform
