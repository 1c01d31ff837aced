// SPDX-License-Identifier: MIT
// Commands that mend an installation.
#pragma once

#include "device/Installation.h"

#include <filesystem>
#include <string>

namespace orvo::host {

/// A word as a shell takes it.
std::string shellWord(const std::string& text);

/// `command`, with sudo where this user may not write to `place`.
std::string asWriter(const std::filesystem::path& place, const std::string& command);

/// Opens a line of a file; 0 for the file.
std::string commandToEdit(const std::string& file, unsigned line);

/// Corrects a configuration file: its line, or, where `line` is 0, what keeps all of it from being read.
std::string commandToCorrect(const std::filesystem::path& file, unsigned line);

/// The path of this program's own file.
std::filesystem::path ownProgram();

/// Puts a file of an installation in its place: from this program's own installation, or, where that is this
/// one, in the way that it was made: by building, by its Debian package, the files of which are listed in
/// `packageFiles`, or by installing. Words where no command would do.
std::string commandToRestore(const Installation& installation, const std::filesystem::path& file,
                             const std::filesystem::path& packageFiles = "/var/lib/dpkg/info/orvo-gige.list");

} // namespace orvo::host
