// SPDX-License-Identifier: MIT
// The watched ports as metrics.
#pragma once

#include "inspect/watch/WatchView.h"

#include <string>

namespace orvo::host {

/// All that is known, in Prometheus' text exposition format; what is not is left out.
std::string prometheusTextOf(const WatchState& state);

} // namespace orvo::host
