// SPDX-License-Identifier: MIT
// The checks, by what they look at. Each stands for itself and leaves everything as it is.
#pragma once

#include "checkup/doctor/Check.h"
#include "checkup/settings/Settings.h"
#include "device/Installation.h"
#include "device/PortAddress.h"

#include <filesystem>
#include <string>

namespace orvo::host {

/// The installation itself; `root` as --root names it, empty for none.
Check installationCheck(const std::string& root);

/// One check for each library of the installation.
Checks libraryChecks(const Installation& installation);

/// The plug-in's file, symbols, descriptor and start, and whether it is the one that this program is for.
Checks pluginChecks(const Installation& installation);

/// The simulated board's configuration, where the board is simulated, which boards there are, and the port.
Checks boardChecks(const Installation& installation, const Settings& settings, PortAddress port);

/// What the machine lets this user do, for the subcommands that need it.
Checks permissionChecks();
Check tapDriverCheck(const std::filesystem::path& device);

/// Wireshark's and tshark's folders of capture interfaces.
Checks extcapChecks();
Check extcapLinkCheck(const std::filesystem::path& folder);

/// Properties files and environment variables.
Checks settingsChecks(const Settings& settings);

} // namespace orvo::host
