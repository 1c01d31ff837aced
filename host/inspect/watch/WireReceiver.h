// SPDX-License-Identifier: MIT
// A host for ports of the simulated board that have none.
#pragma once

#include "device/BoardAccess.h"

#include <thread>
#include <vector>

namespace orvo::host {

/// Takes what wires bring from the receive queues, and drops it. The simulated board lives in this process,
/// so nobody else can: a recording would not be played, and the queue of a live wire would be full soon. Does
/// nothing on a real board, whose frames belong to others.
class WireReceiver {
public:
    /// One thread for each port with such a wire. The session must outlive it.
    WireReceiver(const BoardAccess& session, const std::vector<PortAddress>& ports);
    ~WireReceiver(); ///< takes as long as an empty read

private:
    std::vector<std::jthread> threads_;
};

} // namespace orvo::host
