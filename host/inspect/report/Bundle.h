// SPDX-License-Identifier: MIT
#pragma once

#include "inspect/report/Report.h"

#include <string>

namespace orvo::host {

class ReplacedFile;

/// Writes a report and everything it was made from as one archive (tar, gzip): the page, the diagnosis and
/// the readings as JSON, the plug-in's report and log, the configuration, and the capture at `capturePath`.
/// Errors: Failure when the archive cannot be written or the capture cannot be read.
void writeBundle(ReplacedFile& file, const Report& report, const std::string& capturePath);

} // namespace orvo::host
