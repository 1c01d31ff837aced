// SPDX-License-Identifier: MIT
// What permissions keep from this user.
#pragma once

#include <filesystem>
#include <string>

namespace orvo::host {

/// The outermost folder on the way to `file` that this user may not look into; empty: none.
std::filesystem::path closedFolder(const std::filesystem::path& file);

/// Lets this user read `file`: opens the folder that is closed on the way to it, or, where none is, the file.
std::string commandToOpen(const std::filesystem::path& file);

} // namespace orvo::host
