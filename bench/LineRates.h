// SPDX-License-Identifier: MIT
// TCP over ports whose frames take their time on the wire.
#pragma once

#include <nlohmann/json.hpp>

#include <chrono>
#include <map>
#include <string>

namespace orvo::bench {

struct Line {
    bool isShared;  ///< boards of a server; else the bridge's own
    unsigned mbit;  ///< 1000 or 100
    unsigned ports; ///< that carry the load at the same time
};

/// By the names that their results have.
const std::map<std::string, Line>& lines();

/// Bits a second of TCP in each direction over the slowest port, and the same of what TCP carries over such a
/// link at most. In the host's namespace, in a process of its own.
nlohmann::ordered_json lineRate(const Line& line, std::chrono::seconds duration);

} // namespace orvo::bench
