// SPDX-License-Identifier: MIT
#pragma once

#include "device/BoardAccess.h"

#include <thread>
#include <vector>

namespace orvo::host {

/// Whether a wire brings frames to a port of this process's own simulated board.
bool hasOwnFeed(const BoardAccess& access, PortAddress port);

/// Takes the frames that wires bring to a simulated board from its receive queues and drops them. The board
/// lives in this process, so no other program can: without this a recording would not be played, and the
/// queue of a live wire would soon be full. Does nothing on a real board, whose frames belong to other
/// programs.
class QueueDrain {
public:
    /// Starts one thread for each port with such a wire. `access` must outlive it.
    QueueDrain(const BoardAccess& access, const std::vector<PortAddress>& ports);
    ~QueueDrain(); ///< waits for the reads in progress, 100 ms at most

private:
    std::vector<std::jthread> threads_;
};

} // namespace orvo::host
