// SPDX-License-Identifier: MIT
// Where the installation lies that this plug-in belongs to.
#pragma once

#include <cstddef>

namespace orvo::hal {

/// The root directory of the installation, or null when it cannot be determined; then the next call tries
/// again.
///
/// It is derived from where the plug-in's own file lies, and only when that fails from the environment
/// variables ORVODIR5_64 and ORVODIR5. Once found it stays the same for the life of the process; the text is
/// the process's. Threads: any.
const char* installationRoot();

constexpr std::size_t rootBufferBytes = 1024;

/// Cuts the path of a file down to the directory above the innermost "bin", "dll", "Hardware Applets", "lib"
/// or "lib64" on its way (any case), in place. False when there is none; the text is then of no use any more.
bool cutToInstallationRoot(char* path);

/// Fills `buffer` (rootBufferBytes characters) with `directory`, cut to fit, without trailing slashes.
void copyRootDirectory(char* buffer, const char* directory);

} // namespace orvo::hal
