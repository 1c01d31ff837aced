// SPDX-License-Identifier: MIT
// What is shown of the watched ports, and the forms of it.
#pragma once

#include "inspect/watch/PortTrack.h"

#include <chrono>
#include <memory>
#include <string>
#include <vector>

namespace orvo::host {

/// The state after one reading of all ports.
struct WatchState {
    const std::vector<PortTrack>& ports;
    std::chrono::system_clock::time_point time;
    double seconds;                ///< since the first reading
    double interval;               ///< between readings
    std::vector<std::string> news; ///< of boards, since the last reading
};

/// One form of output, to standard output.
class WatchView {
public:
    WatchView() = default;
    virtual ~WatchView() = default;
    WatchView(const WatchView&) = delete;
    WatchView& operator=(const WatchView&) = delete;

    /// Errors: Failure when standard output does not take it.
    virtual void show(const WatchState& state) = 0;

    /// The same once more, when a signal came that may have been for the view.
    virtual void showAgain(const WatchState&) {}

    /// The last state, after the end was asked for.
    virtual void end(const WatchState&) {}
};

/// One line a port, one JSON document a line, or a screen on the terminal.
std::unique_ptr<WatchView> makeLinesView();
std::unique_ptr<WatchView> makeJsonView();
std::unique_ptr<WatchView> makeTerminalView();

/// Whether standard output is a terminal that can be drawn on.
bool canDraw();

/// "2026-01-31T12:34:56.789Z", of the UTC.
std::string timeText(std::chrono::system_clock::time_point time);

/// "up", "down", "unknown", or "gone" when the whole board is.
const char* linkText(const PortTrack& port);

/// In Mbit/s from a count of bytes; nothing when unknown.
std::optional<double> mbitPerSecond(const Figure& bytes);

} // namespace orvo::host
