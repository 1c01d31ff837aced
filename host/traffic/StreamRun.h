// SPDX-License-Identifier: MIT
// Streams of a capture, or of a port while frames are taken from it, from the request to the report.
#pragma once

#include "device/BoardAccess.h"
#include "frames/streams/StreamAccount.h"
#include "inspect/streams/LossPlace.h"
#include "traffic/Capture.h"
#include "traffic/TrafficRun.h"
#include "traffic/WireSource.h"

#include <optional>
#include <string>

namespace orvo::host {

struct StreamRequest {
    std::string capture;  ///< read this file; empty: take frames from the port
    bool atWire = false;  ///< listen at the port's cable instead, beside the program that uses it
    CaptureLimits limits; ///< at the port
    PortOptions port;
    BoardOptions boards;
};

struct StreamRunReport {
    StreamRequest request;
    StreamsReport streams = {};
    std::uint64_t frames = 0;      ///< of every kind
    std::string captureFault = {}; ///< why the end of the capture is missing; empty when it is not
    PortTroubles troubles = {};
    std::optional<WireCounts> wire = {};        ///< at the wire
    std::optional<TrafficAccount> account = {}; ///< of a port that was opened
};

/// `take` receives every image as it ends, on any thread. Errors: Failure, UsageFailure; Interruption while a
/// file is read.
StreamRunReport runStreams(const StreamRequest& request, const StreamAccount::Take& take);

std::string streamRunText(const StreamRunReport& report);
nlohmann::ordered_json streamRunJson(const StreamRunReport& report);

} // namespace orvo::host
