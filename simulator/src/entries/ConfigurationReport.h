// SPDX-License-Identifier: MIT
// Telling the user of a bad configuration file, once.
#pragma once

namespace orvo::sim {

/// Writes the configuration error, if there is one, to standard error, unless somebody did or took it over.
void reportConfigurationError();

/// The configuration error, null if there is none; whoever asks reports it.
const char* takeConfigurationError();

} // namespace orvo::sim
