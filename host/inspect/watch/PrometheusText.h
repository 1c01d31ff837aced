// SPDX-License-Identifier: MIT
#pragma once

#include "inspect/watch/WatchView.h"

#include <string>

namespace orvo::host {

/// The watched ports in Prometheus' text exposition format; unknown values are left out.
std::string prometheusTextOf(const WatchState& state);

} // namespace orvo::host
