// SPDX-License-Identifier: MIT
// What several forms have in common.
#include "inspect/watch/WatchView.h"

#include <fmt/chrono.h>
#include <fmt/format.h>

namespace orvo::host {

std::string timeText(std::chrono::system_clock::time_point time) {
    const auto sinceEpoch = std::chrono::duration_cast<std::chrono::milliseconds>(time.time_since_epoch());
    return fmt::format("{:%Y-%m-%dT%H:%M:%S}.{:03}Z", fmt::gmtime(std::chrono::system_clock::to_time_t(time)),
                       sinceEpoch.count() % 1000);
}

const char* linkText(const PortTrack& port) {
    if (port.of(Counter::Present).value == 0) return "gone";
    const auto up = port.of(Counter::LinkUp).value;
    return !up ? "unknown" : *up != 0 ? "up" : "down";
}

std::optional<double> mbitPerSecond(const Figure& bytes) {
    if (!bytes.perSecond) return std::nullopt;
    return *bytes.perSecond * 8 / 1e6;
}

} // namespace orvo::host
