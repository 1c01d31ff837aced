// SPDX-License-Identifier: MIT
// What a user chooses before a board is opened: installation, cabling, time and faults.
#pragma once

#include "device/PortAddress.h"

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

    /// Errors: UsageFailure when they ask for virtual time, which live traffic does not keep to.
    void requireRealTime() const;
};

/// Which port, and whether its board is reset first.
struct PortOptions {
    PortAddress address;
    bool noReset = false;
};

} // namespace orvo::host
