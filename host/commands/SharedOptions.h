// SPDX-License-Identifier: MIT
// Command-line options that several subcommands share.
#pragma once

#include "cli/CommandLine.h"
#include "device/InstallationOptions.h"

#include <chrono>
#include <string>

namespace orvo::host {

/// Adds --root, --wire and --time.
void addTo(CommandLine& line, InstallationOptions& options);

/// Adds --faults and --seed.
void addFaultsTo(CommandLine& line, InstallationOptions& options);

/// Adds --root.
void addRootTo(CommandLine& line, std::string& root);

/// Adds --board and --port.
void addAddressTo(CommandLine& line, PortAddress& address);

/// Adds --board, --port and --no-reset.
void addTo(CommandLine& line, PortOptions& options);

/// The value of an option in seconds, such as "2" or "0.5". Errors: WrongValue.
std::chrono::duration<double> secondsFrom(const std::string& text, double least, double most);

} // namespace orvo::host
