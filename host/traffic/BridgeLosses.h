// SPDX-License-Identifier: MIT
// Frames of a bridge that are lost where the program does not handle them: in the TAP's queue and at the
// board.
#pragma once

#include "device/BoardAccess.h"
#include "device/PortStatistics.h"
#include "frames/FrameReport.h"
#include "frames/Interface.h"
#include "frames/LiveCount.h"

#include <optional>
#include <string>

namespace orvo::host {

/// Frames of the host for which the TAP's queue had no room, however often the TAP goes and comes back.
class TapQueueLosses {
public:
    /// Counts from now on.
    explicit TapQueueLosses(const std::string& tap) : tap_(tap), seen_(unsentFrames(tap)) {}

    /// Looks at the kernel's counter, which goes with its interface: what it counted after the last look is
    /// not known then. One thread.
    void observe();

    /// Any thread.
    std::uint64_t frames() const noexcept { return frames_.value(); }

private:
    const std::string tap_;
    std::optional<UnsentFrames> seen_;
    LiveCounter frames_;
};

/// Frames that went no further at a port of the simulated board. A real board tells of them in the plug-in's
/// statistics alone.
class PortLosses {
public:
    /// Counts from now on. The session must outlive it.
    PortLosses(const BoardAccess& session, PortAddress port)
        : session_(session), port_(port), before_(counts()) {}

    /// Adds them, each with what became of it. Any thread.
    void addTo(Drops& drops) const;

private:
    OrvoSimPort counts() const;

    const BoardAccess& session_;
    const PortAddress port_;
    const OrvoSimPort before_;
};

} // namespace orvo::host
