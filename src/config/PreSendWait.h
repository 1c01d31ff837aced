// SPDX-License-Identifier: MIT
// The time that a port waits before each frame.
#pragma once

#include <cstdint>
#include <optional>

namespace orvo::templates::platform {

inline constexpr const char* preSendWaitVariable = "ORVO_PRE_SEND_WAIT_TIME";

/// Milliseconds, as the variable's text says; nothing when there is none (null), or none that `usleep` can
/// wait.
std::optional<std::uint32_t> preSendWaitMs(const char* text);

} // namespace orvo::templates::platform
