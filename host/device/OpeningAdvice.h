// SPDX-License-Identifier: MIT
// What to try when the plug-in could not open a port.
#pragma once

#include <string>

namespace orvo::host {

/// Advice on the cause that the plug-in named in `message`, its words on one of the failures of an opening.
std::string openingAdvice(const std::string& message);

} // namespace orvo::host
