// SPDX-License-Identifier: MIT
// The program's word to its user while it works.
#pragma once

#include <string>

namespace orvo::host {

/// Writes one line to standard error, under the program's name. Any thread; lines of several do not mix.
void notice(std::string text);

} // namespace orvo::host
