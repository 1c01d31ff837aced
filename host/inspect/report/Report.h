// SPDX-License-Identifier: MIT
// Everything that a report on a port is made of.
#pragma once

#include "inspect/report/RunLog.h"
#include "inspect/watch/PortTrack.h"

#include <nlohmann/json.hpp>

#include <chrono>
#include <string>
#include <vector>

namespace orvo::host {

/// One value of the configuration, as the page shows it.
struct ReportedSetting {
    std::string name, value, origin, meaning;
};

struct ReportedSettings {
    std::vector<ReportedSetting> properties; ///< tuning values of the plug-in
    std::vector<ReportedSetting> others;     ///< files and environment variables
    std::vector<std::string> remarks;        ///< what has no effect, or looks like a mistake
    std::string text;                        ///< all of it, for the bundle
};

struct Report {
    std::chrono::system_clock::time_point time;
    std::string installation;         ///< its root
    nlohmann::ordered_json diagnosis; ///< as diagnosisOf makes it
    std::vector<std::string> dump;    ///< the plug-in's lines behind it
    PortTrack track;                  ///< counters, meanwhile and afterwards
    std::vector<LoggedMessage> log;
    ReportedSettings settings;
};

/// One page that needs nothing from elsewhere, nor may load it.
std::string pageOf(const Report& report);

/// The readings of the track: times, and values by the keys of the counters.
nlohmann::ordered_json readingsOf(const PortTrack& track);

} // namespace orvo::host
