// SPDX-License-Identifier: MIT
#pragma once

#include "device/BoardAccess.h"
#include "frames/FrameCount.h"
#include "frames/FrameReport.h"

#include <cstdint>

namespace orvo::host {

/// Frames that went no further at a port of the simulated board. On a real board only the plug-in's
/// statistics show them.
class PortLosses {
public:
    /// Counts from now on. `access` must outlive it.
    PortLosses(const BoardAccess& access, PortAddress port);

    bool areKnown() const noexcept { return access_.simulator.has_value(); }

    /// Any thread.
    void addTo(Drops& drops) const;

    /// When the device was opened again, which empties the port's queue, or never will be; `taken` frames
    /// were received so far, and none is being received. Returns how many the queue held. If it was emptied,
    /// then microseconds ago: one frame at most has come since.
    std::uint64_t noteRelease(std::uint64_t taken, bool isReopened);

private:
    OrvoSimPort counts() const;

    const BoardAccess& access_;
    const PortAddress port_;
    const OrvoSimPort before_;
    LiveCounter whileReleased_; // one thread writes it
};

} // namespace orvo::host
