// SPDX-License-Identifier: MIT
// Whole text files.
#pragma once

#include <filesystem>
#include <string>

namespace orvo::sim {

/// The content of a regular file. Throws ConfigurationError.
std::string readTextFile(const std::filesystem::path& path);

} // namespace orvo::sim
