// SPDX-License-Identifier: MIT
// Paths of the properties files.
#pragma once

#include <string>

namespace orvo::templates::platform {

/// "rt.conf" in the installation root; empty when there is no root.
std::string systemPropertiesFile();

/// The same for the installation in `root`.
std::string propertiesFileIn(const std::string& root);

/// "rt.conf" in ".config/orvo" below the user's home directory. Creates the two directories if they are
/// missing; empty when HOME is not set or they cannot be created.
std::string userPropertiesFile();

/// The same path without creating anything; empty only when HOME is not set.
std::string userPropertiesPath();

} // namespace orvo::templates::platform
