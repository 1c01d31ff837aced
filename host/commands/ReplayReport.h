// SPDX-License-Identifier: MIT
// What a replay tells its user in the end.
#pragma once

#include "commands/ReplayCommand.h"
#include "device/PortAddress.h"
#include "device/PortStatistics.h"
#include "frames/Verifier.h"
#include "inspect/faults/Ledger.h"
#include "traffic/Replay.h"

#include <nlohmann/json_fwd.hpp>

#include <optional>
#include <string>
#include <vector>

namespace orvo::host {

struct ReplayReport {
    const ReplayOptions& options;
    ReplayResult result = {};
    PortAddress sendingPort, receivingPort;
    bool interrupted = false;
    std::uint64_t writtenFrames = 0;                   ///< in the output, if there is one
    std::optional<Verifier::Report> verification = {}; ///< with --verify
    std::vector<PortStatistics> statistics = {};       ///< of the plug-in, for each port
    std::optional<Ledger> ledger = {};                 ///< with --faults

    std::uint64_t lostFrames() const noexcept;
    bool passed() const noexcept { return !verification || verification->passed(); }
};

std::string textOf(const ReplayReport& report);
nlohmann::ordered_json jsonOf(const ReplayReport& report);

} // namespace orvo::host
