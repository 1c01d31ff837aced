// SPDX-License-Identifier: MIT
// A history as a line of blocks.
#pragma once

#include "inspect/watch/PortTrack.h"

#include <string>

namespace orvo::host {

/// The last `width` entries, each as high as its share of the largest; the latest stands at the right, and
/// blanks where nothing is known. Without `blocks` in characters of ASCII.
std::string sparkline(const PortTrack::History& history, std::size_t width, bool blocks);

} // namespace orvo::host
