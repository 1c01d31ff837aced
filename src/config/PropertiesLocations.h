// SPDX-License-Identifier: MIT
// Where the properties files lie.
#pragma once

#include <string>

namespace orvo::templates::platform {

/// "rt.conf" in the installation root; empty when there is no root.
std::string systemPropertiesFile();

/// The same for the installation in `root`.
std::string propertiesFileIn(const std::string& root);

/// "rt.conf" in ".config/orvo" below the user's home directory, which is made if it is missing; empty when
/// HOME is not set or the directories cannot be made.
std::string userPropertiesFile();

/// The same, with nothing made; empty only when HOME is not set.
std::string userPropertiesPath();

} // namespace orvo::templates::platform
