// SPDX-License-Identifier: MIT
// The screen of watched ports, as lines of text.
#pragma once

#include "inspect/watch/WatchView.h"

#include <cstddef>
#include <string>
#include <vector>

namespace orvo::host {

struct ScreenForm {
    std::size_t columns = 80;
    std::size_t lines = 24; ///< 0: as many as it takes
    bool colour = false;
    bool blocks = true; ///< the terminal knows block characters
};

/// No line takes more columns than there are. Where lines are limited, what does not fit is left out, trouble
/// last, and the last line says how much.
std::vector<std::string> screenOf(const WatchState& state, const ScreenForm& form);

} // namespace orvo::host
