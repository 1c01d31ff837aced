// SPDX-License-Identifier: MIT
// What the first block of a recording says of the process that is recorded.
#pragma once

#include <nlohmann/json.hpp>

#include <string>

namespace orvo::host {

/// `program` made the recording; `root` is the installation whose plug-in is recorded.
nlohmann::json recordingHeader(const std::string& program, const std::string& root);

} // namespace orvo::host
