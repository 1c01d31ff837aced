// SPDX-License-Identifier: MIT
// Commands for a shell that repair an installation.
#pragma once

#include "device/Installation.h"

#include <filesystem>
#include <string>

namespace orvo::host {

/// The text, quoted where a shell would not take it as one plain word.
std::string shellWord(const std::string& text);

/// Path of this program, as a shell word.
std::string ownProgram();

/// `command`, with sudo where this user may not write to `place`.
std::string asWriter(const std::filesystem::path& place, const std::string& command);

/// The outermost folder above `file` that this user may not enter; empty: none.
std::filesystem::path closedFolder(const std::filesystem::path& file);

/// Lets this user read `file`: opens the folder above it that is closed, or else the file.
std::string commandToOpen(const std::filesystem::path& file);

/// Opens a configuration file in an editor, at `line` unless that is 0. Makes a file readable first where
/// this user cannot read it, and moves anything that is no file out of the way.
std::string commandToCorrect(const std::filesystem::path& file, unsigned line = 0);

/// Puts a file of an installation back: copied from this program's own installation, or, in that one, by
/// installing it again.
std::string commandToRestore(const Installation& installation, const std::filesystem::path& file);

} // namespace orvo::host
