// SPDX-License-Identifier: MIT
#include "Settings.h"

#include <cstdio>
#include <cstdlib>
#include <stdexcept>

namespace orvo::dispatcher {
namespace {

std::string variable(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : "";
}

Thresholds thresholdsFrom(const std::string& text) {
    try {
        return Thresholds::parse(text);
    } catch (const std::invalid_argument& error) {
        std::fprintf(stderr,
                     "orvo log: environment variable ORVO_LOG: %s; write it like 'guard.library=2,*=4' "
                     "(using threshold %u for every logger)\n",
                     error.what(), defaultThreshold);
        return {};
    }
}

} // namespace

Settings settingsFromEnvironment() {
    return {thresholdsFrom(variable("ORVO_LOG")), variable("ORVO_LOG_FILE")};
}

} // namespace orvo::dispatcher
