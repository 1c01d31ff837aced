// SPDX-License-Identifier: MIT
// How a report looks.
#pragma once

namespace orvo::host {

/// CSS for light and dark, wide and narrow, and paper.
extern const char* const pageStyle;

} // namespace orvo::host
