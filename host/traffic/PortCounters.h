// SPDX-License-Identifier: MIT
#pragma once

#include "device/BoardAccess.h"
#include "inspect/streams/LossPlace.h"
#include "inspect/watch/Sampler.h"

#include <mutex>
#include <optional>

namespace orvo::host {

/// How a port's counters rose since a beginning, on real and simulated boards. Any thread.
class PortCounters {
public:
    /// Reads for the first time. `access` must outlive it.
    PortCounters(const BoardAccess& access, PortAddress port);

    /// Up to now. What cannot be read is unknown.
    PortTroubles troubles();
    /// Reads, and lets go of the board until the next call of `troubles`, so that it can be released.
    void letGo();
    /// Reads for the last time: from now on, `troubles` does not change.
    void finish();

private:
    void read();

    const BoardAccess& access_;
    const PortAddress port_;
    std::mutex mutex_; // guards the rest
    std::optional<Sampler> sampler_;
    PortHistory history_;
    bool isFinished_ = false;
};

} // namespace orvo::host
