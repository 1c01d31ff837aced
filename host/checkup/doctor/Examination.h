// SPDX-License-Identifier: MIT
// All checks of an installation.
#pragma once

#include "checkup/doctor/Check.h"
#include "device/PortAddress.h"

#include <string>

namespace orvo::host {

/// `root` as --root names it; empty for this program's own installation. What cannot be told because of
/// something bad is skipped. Takes as long as libraries take to be loaded, each at most `trialLimit`.
/// Errors: Interruption; Failure when no processes can be started.
Checks examine(const std::string& root, PortAddress port);

} // namespace orvo::host
