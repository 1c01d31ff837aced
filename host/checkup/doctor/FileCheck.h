// SPDX-License-Identifier: MIT
// Whether a file of an installation can be read at all.
#pragma once

#include "checkup/doctor/Check.h"
#include "device/Installation.h"

#include <filesystem>
#include <optional>

namespace orvo::host {

/// The check `name` of a file that is not there or cannot be read; nothing when it can.
std::optional<Check> unreadableFile(const std::string& name, const Installation& installation,
                                    const std::filesystem::path& file);

} // namespace orvo::host
