// SPDX-License-Identifier: MIT
// A report on a port: what it is made of, and its parts as text.
#pragma once

#include "device/PluginLog.h"
#include "inspect/report/Chart.h"
#include "inspect/watch/PortHistory.h"

#include <nlohmann/json.hpp>

#include <chrono>
#include <string>
#include <vector>

namespace orvo::host {

/// One value of the configuration, as the page shows it.
struct ReportedSetting {
    std::string name, value;
    std::string origin; ///< "default" where nobody has set it
    std::string meaning;
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
    std::vector<std::string> dump;    ///< the plug-in's report, from which it was made
    PortHistory history;              ///< counters during the diagnosis and afterwards
    std::vector<LoggedMessage> log;
    ReportedSettings settings;
    Chart images = {};        ///< of cameras; without series where there were none
    std::string streams = {}; ///< their account; empty likewise
};

class ReplacedFile;

/// One page that needs no other file and forbids the browser to load any.
std::string pageOf(const Report& report);

/// Whether its ending is that of a kind of archive that can be written, such as .tar.gz or .zip.
bool isArchiveName(const std::string& name);

/// Writes a report and everything it was made from as one archive, of the kind that `name` ends with: the
/// page, the diagnosis and the readings as JSON, the plug-in's report and log, the configuration, the capture
/// at `capturePath`, and the recording of board calls at `recordingPath`, unless that file is empty.
/// Errors: Failure when the archive cannot be written or the capture cannot be read.
void writeBundle(ReplacedFile& file, const std::string& name, const Report& report,
                 const std::string& capturePath, const std::string& recordingPath);

std::string logText(const Report& report);
std::string dumpText(const Report& report);

/// Times, and values by the keys of the counters.
nlohmann::ordered_json readingsOf(const PortHistory& history);

} // namespace orvo::host
