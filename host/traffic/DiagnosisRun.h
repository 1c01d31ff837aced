// SPDX-License-Identifier: MIT
// The diagnosis of one port: the plug-in's report, decoded and judged.
#pragma once

#include "traffic/TrafficRun.h"

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

namespace orvo::host {

class Observation;

struct Diagnosed {
    nlohmann::ordered_json document;
    std::vector<std::string> dump; ///< the plug-in's lines that the document was made from
    TrafficAccount account;
};

/// Opens the port without resetting its board, lets the plug-in write its diagnostic report, and decodes it;
/// about 5 s. `observation`, if not null, goes on afterwards, and its findings are in the document too.
/// Errors: Failure when the port cannot be opened, or when the installation's log dispatcher does not provide
/// the report; Interruption.
Diagnosed diagnose(const BoardAccess& access, const BoardOptions& options, PortAddress port,
                   Observation* observation = nullptr);

} // namespace orvo::host
