// SPDX-License-Identifier: MIT
// The recording of this process.
#pragma once

#include <string>

namespace orvo::recorder {

/// Writes "orvo-recorder: TEXT" to standard error as one line.
void tell(const std::string& text) noexcept;

/// From now on, a plug-in that is loaded is recorded into `file`, beginning with its first call.
void awaitPlugin(std::string file) noexcept;

/// Whether a library that is being opened may be the plug-in that is awaited or recorded.
bool expectsPlugin() noexcept;

/// The host has opened a library. Does nothing where it is not the plug-in.
void noteOpened(const char* path) noexcept;

/// As orvoRecorderStart. Errors: std::exception.
void start(const std::string& file, const char* plugin);

/// Completes the file. Returns what it lacks; empty when it is complete. Errors: std::exception when no
/// recording goes on.
std::string stop();

/// At the end of the process.
void end() noexcept;

} // namespace orvo::recorder
