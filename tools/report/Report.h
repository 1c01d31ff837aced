// SPDX-License-Identifier: MIT
// Everything that a report on a port is made of.
#pragma once

#include "configuration/Settings.h"
#include "report/RunLog.h"
#include "watch/PortTrack.h"

#include <nlohmann/json.hpp>

#include <chrono>
#include <string>
#include <vector>

namespace orvo::host {

struct Report {
    std::chrono::system_clock::time_point time;
    std::string installation;         ///< its root
    nlohmann::ordered_json diagnosis; ///< as diagnosisOf makes it
    std::vector<std::string> dump;    ///< the plug-in's lines behind it
    PortTrack track;                  ///< counters, meanwhile and afterwards
    std::vector<LoggedMessage> log;
    Settings settings;
};

/// One page that needs nothing from elsewhere, nor may load it.
std::string pageOf(const Report& report);

/// The readings of the track: times, and values by the keys of the counters.
nlohmann::ordered_json readingsOf(const PortTrack& track);

} // namespace orvo::host
