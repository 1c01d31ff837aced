// SPDX-License-Identifier: MIT
// Checks that run foreign code, each in a process of its own.
#pragma once

#include "checkup/doctor/Check.h"

#include <chrono>
#include <functional>

namespace orvo::host {

inline constexpr std::chrono::milliseconds isolationLimit = std::chrono::seconds(20);

/// Calls `work` in a child process and returns its result. Where it throws, crashes, ends the process or
/// takes longer than `limit`, the result is one bad check: `blamed`, which then says how the child ended and
/// the last line that it printed. The child, and every process of its group, has ended on return. Errors:
/// Failure when no child can be started; Interruption.
Checks runIsolated(const Check& blamed, const std::function<Checks()>& work,
                   std::chrono::milliseconds limit = isolationLimit);

} // namespace orvo::host
