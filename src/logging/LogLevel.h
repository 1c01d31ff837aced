// SPDX-License-Identifier: MIT
// The levels of messages that this plug-in writes.
#pragma once

#include <cstdint>

namespace orvo::tools::logging {

enum class LogLevel : std::uint32_t { Detail = 2, Information = 3, Warning = 4, Error = 5 };

} // namespace orvo::tools::logging
