// SPDX-License-Identifier: MIT
// Which wires the ports get when the simulation starts.
#pragma once

#include "Configuration.h"

namespace orvo::sim {

/// Completes the wires that a file asks for: a cable may be named at one of its ends or at both and stands in
/// the result once; a port that no wire names gets a loopback plug. Throws ConfigurationError for a cable to
/// a port that is not there, and for a port that two wires want.
std::vector<WireConfiguration> planCables(const std::vector<BoardConfiguration>& boards,
                                          std::vector<WireConfiguration> wanted,
                                          const std::filesystem::path& file);

} // namespace orvo::sim
