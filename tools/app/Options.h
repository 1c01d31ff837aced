// SPDX-License-Identifier: MIT
// Command-line options that several subcommands share.
#pragma once

#include "app/CommandLine.h"
#include "board/PortAddress.h"

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

namespace orvo::host {

/// One `--wire`: the port is on the board of the subcommand's `--board` unless it is given as BOARD/PORT.
struct WireOption {
    std::string port; ///< "P" or "B/P", checked
    std::string wire; ///< as the simulated board understands it

    PortAddress address(unsigned defaultBoard) const;
};

/// Which installation, and how its simulated board is cabled.
struct InstallationOptions {
    std::string root; ///< empty: the one that this program is part of
    std::vector<WireOption> wires;
    bool virtualTime = false; ///< pauses advance the simulated board's clock instead of waiting
    std::string faults;       ///< script of what goes wrong on the simulated board; empty: nothing
    std::uint64_t seed = 0;   ///< of the script's random choices

    void addTo(CommandLine& line);
    void addFaultsTo(CommandLine& line);

    /// Errors: UsageFailure when they ask for virtual time, which live traffic does not keep to.
    void requireRealTime() const;
};

/// The value of an option in seconds, such as "2" or "0.5". Errors: WrongValue.
std::chrono::duration<double> secondsFrom(const std::string& text, double least, double most);

/// Adds --root.
void addRootTo(CommandLine& line, std::string& root);

/// Adds --board and --port.
void addAddressTo(CommandLine& line, PortAddress& address);

/// Which port, and whether its board is reset first.
struct PortOptions {
    PortAddress address;
    bool noReset = false;

    /// Whether the subcommand resets the board first: unless --no-reset says otherwise, or never.
    enum class Reset { Optional, Never };
    void addTo(CommandLine& line, Reset reset = Reset::Optional);
};

} // namespace orvo::host
