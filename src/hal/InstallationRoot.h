// SPDX-License-Identifier: MIT
// The root directory of the installation that this plug-in belongs to.
#pragma once

#include <cstddef>

namespace orvo::hal {

/// The root directory, or null when it cannot be determined; the next call then tries again.
///
/// It is derived from the path of the plug-in's own file. Only when that fails, the environment variables
/// ORVODIR5_64 and ORVODIR5 are used. Once found, it stays the same, and the text valid, until the plug-in is
/// unloaded. Threads: any.
const char* installationRoot();

constexpr std::size_t rootBufferBytes = 1024;

/// Cuts the path of a file, in place, down to the directory above its innermost folder named "bin", "dll",
/// "Hardware Applets", "lib" or "lib64" (any case). False when there is no such folder; the text is then
/// undefined.
bool cutToInstallationRoot(char* path);

/// Fills `buffer` (rootBufferBytes characters) with `directory`, cut to fit, without trailing slashes.
void copyRootDirectory(char* buffer, const char* directory);

} // namespace orvo::hal
