// SPDX-License-Identifier: MIT
// Opening of what is there to write to.
#pragma once

#include <string>

namespace orvo::host {

/// Opens an existing file, device or pipe for writing; of a pipe, waits for its reader, for as long as nobody
/// asks for the end. Returns the descriptor, or -1 with errno.
/// Errors: Interruption.
int openToWrite(const std::string& path);

} // namespace orvo::host
