// SPDX-License-Identifier: MIT
// Logging settings from the environment.
#pragma once

#include "Thresholds.h"

#include <string>

namespace orvo::dispatcher {

struct Settings {
    Thresholds thresholds; ///< of console and log file, from ORVO_LOG
    std::string logFile;   ///< from ORVO_LOG_FILE; empty for none
};

/// Reads the environment. Reports a bad ORVO_LOG in one line on standard error and takes the default instead.
Settings settingsFromEnvironment();

} // namespace orvo::dispatcher
