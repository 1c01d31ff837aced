// SPDX-License-Identifier: MIT
// A capture from its request to its report.
#pragma once

#include "device/BoardAccess.h"
#include "frames/CaptureOutput.h"
#include "traffic/Capture.h"
#include "traffic/TrafficRun.h"
#include "traffic/WireSource.h"

#include <deque>
#include <optional>
#include <string>

namespace orvo::host {

struct CaptureRequest {
    std::string
        output; ///< FrameOutput::standardOutput is allowed; empty: lines for people on standard output
    std::optional<FileRing> ring;
    std::string filter;  ///< empty: every frame passes
    bool atWire = false; ///< both directions of the port's cable, instead of what the port hands over
    CaptureLimits limits;
    PortOptions port;
    BoardOptions boards;
};

struct CaptureReport {
    CaptureRequest request;
    CaptureResult result = {};
    std::deque<FrameOutput::File> files = {}; ///< with the captured frames, oldest first
    std::uint64_t overwrittenFrames = 0;      ///< of a ring
    std::optional<WireCounts> wire = {};      ///< of a capture at the wire
    TrafficAccount account = {};

    std::uint64_t writtenFrames() const noexcept;
    /// Frames that the output did not take: because writing failed, or because its reader was gone or slow.
    std::uint64_t lostFrames() const noexcept { return result.failure ? unwrittenFrames() : 0; }
    std::uint64_t unreadFrames() const noexcept { return result.failure ? 0 : unwrittenFrames(); }

private:
    std::uint64_t unwrittenFrames() const noexcept;
};

/// Captures until a signal asks for the end or a limit is reached. At the wire of a server's board, the port
/// is not opened: other programs use it. A port of this process's own boards is opened, and its frames are
/// taken and dropped, so that frames pass. Errors: Failure and UsageFailure before the first frame; a later
/// one is in the report.
CaptureReport runCapture(const CaptureRequest& request);

std::string captureText(const CaptureReport& report);
nlohmann::ordered_json captureJson(const CaptureReport& report);

} // namespace orvo::host
