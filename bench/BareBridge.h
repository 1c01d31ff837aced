// SPDX-License-Identifier: MIT
// The same bridge without plug-in and board.
#pragma once

#include <string>

namespace orvo::bench {

/// Moves frames between a TAP that it makes and an interface, each in the calling thread's network namespace,
/// one system call a frame on each side (joined frames of the interface are cut), on two threads, for the
/// rest of the process's life. Errors: std::runtime_error.
void bridgeBare(const std::string& tap, const std::string& interface);

} // namespace orvo::bench
