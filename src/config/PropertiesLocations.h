// SPDX-License-Identifier: MIT
// Where the properties files lie.
#pragma once

#include <string>

namespace orvo::templates::platform {

/// "rt.conf" in the installation root; empty when there is no root.
std::string systemPropertiesFile();

/// "rt.conf" in ".config/orvo" below the user's home directory, which is made if it is missing; empty when
/// HOME is not set or the directories cannot be made.
std::string userPropertiesFile();

} // namespace orvo::templates::platform
