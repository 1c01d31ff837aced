// SPDX-License-Identifier: MIT
// The forms in which watched ports are shown.
#pragma once

#include "inspect/watch/PortHistory.h"
#include "inspect/watch/StreamHistory.h"

#include <chrono>
#include <memory>
#include <string>
#include <vector>

namespace orvo::host {

/// The state after one reading of all ports.
struct WatchState {
    const std::vector<PortHistory>& ports;
    std::chrono::system_clock::time_point time;
    double seconds;                          ///< since the first reading
    double interval;                         ///< between readings
    std::vector<std::string> news;           ///< since the last reading, such as boards that came or went
    std::vector<WatchedStream> streams = {}; ///< where cables can be listened at
};

/// One form of output, to standard output.
class WatchView {
public:
    WatchView() = default;
    virtual ~WatchView() = default;
    WatchView(const WatchView&) = delete;
    WatchView& operator=(const WatchView&) = delete;

    /// Errors: Failure when standard output cannot be written.
    virtual void show(const WatchState& state) = 0;

    /// Called between readings, with the last state: the terminal may have been resized, or be wanted back.
    virtual void showAgain(const WatchState&) {}

    /// Called once at the end, with the last state.
    virtual void end(const WatchState&) {}
};

std::unique_ptr<WatchView> makeLinesView();    ///< a line for each port and reading
std::unique_ptr<WatchView> makeJsonView();     ///< a JSON document a line for each reading
std::unique_ptr<WatchView> makeTerminalView(); ///< a screen that is redrawn in place

/// Whether standard output is a terminal that a screen can be drawn on.
bool canDraw();

/// UTC, as in "2026-01-31T12:34:56.789Z".
std::string timeText(std::chrono::system_clock::time_point time);

/// "up", "down", "unknown", or "gone" when the whole board is.
const char* linkText(const PortHistory& port);

/// The link's speed in Mbit/s; 0 when it is unknown, or the link is down.
std::uint64_t linkMbit(const PortHistory& port);

/// Mbit/s from a counter of bytes; nothing when unknown.
std::optional<double> mbitPerSecond(const Figure& bytes);

} // namespace orvo::host
