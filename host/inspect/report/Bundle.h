// SPDX-License-Identifier: MIT
// A report with all that it was made from, as one archive.
#pragma once

#include "inspect/report/Report.h"

#include <string>

namespace orvo::host {

class ReplacedFile;

/// Writes a compressed archive (tar, gzip) of one folder: the page, the diagnosis and the readings as JSON,
/// the plug-in's lines, the log, the configuration, and the capture, whose file is read from `capturePath`.
/// Errors: Failure when the archive cannot be written or the capture not be read.
void writeBundle(ReplacedFile& file, const Report& report, const std::string& capturePath);

} // namespace orvo::host
