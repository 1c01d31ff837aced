// SPDX-License-Identifier: MIT
// A replay from its request to its report.
#pragma once

#include "device/BoardAccess.h"
#include "frames/FrameOutput.h"
#include "traffic/Replay.h"
#include "traffic/TrafficRun.h"

#include <optional>
#include <string>

namespace orvo::host {

struct ReplayRequest {
    std::string input;  ///< CaptureStream::standardInput is allowed
    std::string output; ///< empty: none; FrameOutput::standardOutput is allowed
    bool verify = false;
    SendOptions sending;
    bool hostMakesFcs = false; ///< the frame check sequence, instead of the board
    std::uint64_t times = 1;   ///< that the capture is sent; 0: until a signal ends it
    PortOptions port;
    std::optional<PortAddress> receivingPort; ///< nothing: the port that the wire leads to
    BoardOptions boards;

    bool writesToOutput() const { return output == FrameOutput::standardOutput; }
    std::string inputName() const { return input == CaptureStream::standardInput ? "standard input" : input; }
};

struct ReplayReport {
    ReplayRequest request;
    PortAddress receivingPort = {};
    ReplayResult result = {};
    std::string captureFault = {}; ///< why the end of the capture is missing; empty when it is not
    bool interrupted = false;
    std::uint64_t writtenFrames = 0;                   ///< in the output, if there is one
    std::optional<Verifier::Report> verification = {}; ///< with `verify`
    TrafficAccount account = {};

    /// Frames that were sent with a right check sequence and did not come back.
    std::uint64_t lostFrames() const noexcept;
    /// Without `verify`, or when every frame of the capture was sent, and exactly those with a right check
    /// sequence came back, unharmed and in order.
    bool passed() const noexcept;
};

/// Everything that can be refused is refused before a board is touched or a file replaced; a signal ends the
/// replay early. Errors: Failure, UsageFailure; Interruption before the first frame.
ReplayReport runReplay(const ReplayRequest& request);

std::string replayText(const ReplayReport& report);
nlohmann::ordered_json replayJson(const ReplayReport& report);

} // namespace orvo::host
