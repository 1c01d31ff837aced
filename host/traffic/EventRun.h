// SPDX-License-Identifier: MIT
// Waiting for the events of one port.
#pragma once

#include "device/BoardAccess.h"
#include "traffic/TrafficRun.h"

#include <chrono>
#include <cstdint>
#include <functional>

namespace orvo::host {

struct EventRequest {
    PortOptions port;
    BoardOptions boards;
    std::uint64_t events = 0;              ///< 0: no limit
    std::chrono::duration<double> time{0}; ///< from the opening of the port; 0: no limit
};

/// Passes the port's events to `print`, on another thread, until a limit is reached or a signal asks for the
/// end. Errors: Failure, UsageFailure; what `print` throws, which ends the run.
TrafficAccount runEvents(const EventRequest& request, const std::function<void(const PortEvent&)>& print);

} // namespace orvo::host
