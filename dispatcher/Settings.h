// SPDX-License-Identifier: MIT
// What the environment says about logging.
#pragma once

#include "Thresholds.h"

#include <string>

namespace orvo::dispatcher {

struct Settings {
    Thresholds thresholds; ///< of console and log file, from ORVO_LOG
    std::string logFile;   ///< from ORVO_LOG_FILE; empty for none
};

/// Reads the environment. A bad ORVO_LOG is one line on standard error, and the default counts.
Settings settingsFromEnvironment();

} // namespace orvo::dispatcher
