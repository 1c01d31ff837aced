// SPDX-License-Identifier: MIT
#pragma once

#include "device/SimulatorControl.h"

#include <memory>

namespace orvo::host {

/// Listens at the cable of a simulated port, beside all programs that use the port. One thread at a time.
class CableTap {
public:
    /// Errors: Failure when there is no such port, all places to listen are taken, or the board library
    /// cannot do it.
    CableTap(const DynamicLibrary& hal, PortAddress port);

    /// The next frame, with at most `room` of its bytes; false when none came in time, or the server of the
    /// boards has ended.
    bool read(OrvoSimTapFrame& frame, void* bytes, std::size_t room, std::chrono::milliseconds limit) const;

    struct Missed {
        std::uint64_t received = 0;
        std::uint64_t sent = 0;
    };
    /// Frames that came faster than they were read.
    Missed missed() const;

private:
    DynamicLibrary hal_;
    decltype(&::orvoSimReadTap) read_ = hal_.require("orvoSimReadTap");
    decltype(&::orvoSimReadTapMissed) missed_ = hal_.require("orvoSimReadTapMissed");
    std::unique_ptr<OrvoSimTap, decltype(&::orvoSimCloseTap)> tap_{nullptr, hal_.require("orvoSimCloseTap")};
};

/// Why a frame that reached the port, or that it was to send, died in the board; null for one that passed.
const char* deathReason(OrvoSimFate fate, bool isSent);

} // namespace orvo::host
