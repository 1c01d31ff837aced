// SPDX-License-Identifier: MIT
// The plug-in's tuning values, each with where it comes from.
#pragma once

#include "checkup/settings/Settings.h"

namespace orvo::host {

/// One setting for each row of the plug-in's table. `files` in order of precedence.
std::vector<Setting> propertySettings(const std::vector<PropertiesText>& files,
                                      const std::vector<std::string>& arguments);

} // namespace orvo::host
