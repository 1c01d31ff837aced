// SPDX-License-Identifier: MIT
// All checks of an installation.
#pragma once

#include "checkup/doctor/Check.h"
#include "device/PortAddress.h"

#include <string>

namespace orvo::host {

/// `root` as --root names it; empty for this program's own installation. Checks that depend on a bad one are
/// skipped. Loads libraries, each for at most `isolationLimit`; resets no board.
/// Errors: Interruption; Failure when no processes can be started.
Checks examine(const std::string& root, PortAddress port);

} // namespace orvo::host
