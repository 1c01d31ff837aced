// SPDX-License-Identifier: MIT
// The forced reset of one port, timed, with the link before and after.
#pragma once

#include "device/BoardAccess.h"
#include "device/Phy.h"
#include "traffic/TrafficRun.h"

#include <string>

namespace orvo::host {

struct ResetReport {
    PortAddress port;
    Link before = Link::Unknown;
    Link after = Link::Unknown;
    double resetSeconds = 0;
    double linkSeconds = 0; ///< from the end of the reset to the link, or to giving up
    TrafficAccount account = {};

    bool lostLink() const noexcept { return before == Link::Up && after != Link::Up; }
};

/// Resets the PHY of a port, about 2 s, and waits for its link. Errors: Failure, Interruption.
ResetReport resetPort(const BoardOptions& boards, PortAddress port);

std::string resetText(const ResetReport& report);
nlohmann::ordered_json resetJson(const ResetReport& report);

} // namespace orvo::host
