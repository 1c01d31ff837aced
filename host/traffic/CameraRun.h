// SPDX-License-Identifier: MIT
#pragma once

#include "device/BoardAccess.h"
#include "frames/CameraSearch.h"

#include <chrono>
#include <vector>

namespace orvo::host {

struct CameraRequest {
    NetworkAddress address; ///< of the searcher
    std::chrono::duration<double> time{2};
    PortOptions port;
    BoardOptions boards;
};

/// Searches for cameras behind a port, for the given time. Errors: Failure, Interruption.
std::vector<FoundCamera> findCameras(const CameraRequest& request);

} // namespace orvo::host
