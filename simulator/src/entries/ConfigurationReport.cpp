// SPDX-License-Identifier: MIT
// The one report of a configuration error.
#include "ConfigurationReport.h"

#include "Simulation.h"

#include <cstdio>

namespace orvo::sim {

namespace {

constinit std::atomic<bool> isReported{false};

} // namespace

void reportConfigurationError() {
    const std::string& error = configurationError();
    if (error.empty() || isReported.exchange(true)) return;
    std::fprintf(stderr, "simulated board: no board appears: %s\n", error.c_str());
}

const char* takeConfigurationError() {
    const std::string& error = configurationError();
    if (error.empty()) return nullptr;
    isReported.store(true);
    return error.c_str();
}

} // namespace orvo::sim
