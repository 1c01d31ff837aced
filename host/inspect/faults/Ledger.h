// SPDX-License-Identifier: MIT
// The ledger of a run with faults: what was injected, what moved, and where every frame went.
#pragma once

#include "device/PortAddress.h"

#include <orvo/sim/orvo_sim.h>

#include <nlohmann/json_fwd.hpp>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace orvo::host {

/// A counter or message that faults move. Other causes move it too, so there is no number it must reach.
struct Movement {
    std::string what;
    PortAddress where;
    std::optional<std::uint64_t> moved = {}; ///< nothing: this command cannot see it
};

/// Whether a fault happens to frames on the wire, in one direction.
bool isOfWire(const OrvoSimFault& fault) noexcept;

/// Two sums that must be equal.
struct Balance {
    struct Part {
        std::string name;
        std::uint64_t count = 0;
    };
    std::string what; ///< as in "0/0 sent"
    std::vector<Part> totals;
    std::vector<Part> parts;
    std::string missing = {}; ///< a count that the plug-in did not report; empty: none

    bool differs() const noexcept;
};

struct Ledger {
    std::string script;
    std::uint64_t seed = 0;
    std::vector<OrvoSimFault> faults;
    std::vector<Movement> movements;
    std::vector<Balance> balances;

    /// Whether all balances are equal.
    bool passed() const noexcept;
};

std::string ledgerText(const Ledger& ledger);
nlohmann::ordered_json ledgerJson(const Ledger& ledger);

/// Only the faults, for a run that was cut short.
std::string injectionsText(const Ledger& ledger);

} // namespace orvo::host
