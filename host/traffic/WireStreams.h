// SPDX-License-Identifier: MIT
#pragma once

#include "device/BoardAccess.h"
#include "inspect/watch/StreamHistory.h"
#include "traffic/LiveStreams.h"

#include <chrono>
#include <memory>
#include <string>
#include <vector>

namespace orvo::host {

/// Follows the streams at the cables of ports, beside all programs that use these, on a thread for each port.
/// Ports whose cables cannot be listened at are left out: those of real boards, and those of this process's
/// own simulated boards to which no wire brings frames.
class WireStreams {
public:
    /// `access` must outlive it. The streams are up to date each `interval`.
    WireStreams(const BoardAccess& access, const std::vector<PortAddress>& ports,
                std::chrono::duration<double> interval);
    ~WireStreams(); ///< waits for the threads, 50 ms at most

    void addTo(StreamHistories& histories, double seconds) const;
    /// What the user should know, a line each, once.
    std::vector<std::string> takeNews();

private:
    class Listener;

    void listen(const DynamicLibrary& hal, PortAddress port, std::chrono::nanoseconds interval);

    std::vector<std::unique_ptr<Listener>> listeners_;
    std::vector<std::string> news_;
};

} // namespace orvo::host
