// SPDX-License-Identifier: MIT
// The checks by subject. Each is independent of the others and changes nothing.
#pragma once

#include "checkup/doctor/Check.h"
#include "checkup/settings/Settings.h"
#include "device/Installation.h"
#include "device/PortAddress.h"

#include <filesystem>
#include <optional>
#include <string>

namespace orvo::host {

/// The installation's folder; `root` as --root names it, empty for this program's own.
Check installationCheck(const std::string& root);

/// The bad check `name` of a file that is missing or cannot be read; nothing when it can.
std::optional<Check> unreadableFile(const std::string& name, const Installation& installation,
                                    const std::filesystem::path& file);

/// One check for each library of the installation.
Checks libraryChecks(const Installation& installation);

/// The plug-in: its file, symbols, descriptor and start, and whether it is the one for this program.
Checks pluginChecks(const Installation& installation);

/// Real or simulated board, its configuration where it is simulated, which boards there are, and the port.
Checks boardChecks(const Installation& installation, const Settings& settings, PortAddress port);

/// Capabilities and driver that some subcommands need.
Checks permissionChecks();
Check tapDriverCheck(const std::filesystem::path& device);

/// This program's link in Wireshark's and tshark's folders of capture interfaces.
Checks extcapChecks();
Check extcapLinkCheck(const std::filesystem::path& folder);

/// Properties files and environment variables.
Checks settingsChecks(const Settings& settings);

} // namespace orvo::host
