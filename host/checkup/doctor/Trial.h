// SPDX-License-Identifier: MIT
// Work that may end the process, done in a process of its own.
#pragma once

#include "checkup/doctor/Check.h"

#include <chrono>
#include <functional>

namespace orvo::host {

inline constexpr std::chrono::milliseconds trialLimit = std::chrono::seconds(20);

/// What `work`, done in a child, returns. Where it throws, crashes, ends the process or takes longer than
/// `limit`, there is one bad check instead: `blamed`, with how it ended as what was found. What the child
/// writes goes nowhere. Errors: Failure when there can be no child; Interruption.
Checks tried(const Check& blamed, const std::function<Checks()>& work,
             std::chrono::milliseconds limit = trialLimit);

} // namespace orvo::host
