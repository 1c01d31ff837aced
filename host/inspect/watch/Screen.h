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
    std::size_t lines = 24; ///< 0: no limit
    bool colour = false;
    bool blocks = true; ///< the terminal has block characters
};

/// A table of the ports and one of their counters, trouble first and zeros last. Lines stay within the
/// columns. Where the lines do not suffice, the last one says how many are missing.
std::vector<std::string> screenOf(const WatchState& state, const ScreenForm& form);

} // namespace orvo::host
