// SPDX-License-Identifier: MIT
// Where the simulation finds its configuration.
#pragma once

#include <filesystem>
#include <optional>

namespace orvo::sim {

/// The file that ORVO_SIMULATOR_CONFIG names, else "simulator.toml" in the directory above the one that this
/// library lies in, if it is there.
std::optional<std::filesystem::path> configurationFile();

} // namespace orvo::sim
