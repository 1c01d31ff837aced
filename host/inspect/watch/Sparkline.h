// SPDX-License-Identifier: MIT
#pragma once

#include "inspect/watch/PortHistory.h"

#include <string>

namespace orvo::host {

/// The last `width` entries as a bar chart one line high, scaled to the largest of them; the latest is at the
/// right, unknown ones are blank. Without `blocks`, in ASCII characters.
std::string sparkline(const PortHistory::Series& history, std::size_t width, bool blocks);

} // namespace orvo::host
