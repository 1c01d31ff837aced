// SPDX-License-Identifier: MIT
// The ledger of a run with faults: what was injected, what moved, and what became of every frame.
#pragma once

#include "device/PortAddress.h"

#include <nlohmann/json_fwd.hpp>

#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <vector>

namespace orvo::host {

/// An entry of the script.
struct InjectedFault {
    unsigned line = 0;
    std::string kind;
    std::string where; ///< "B/P", and the direction where there is one
    std::uint64_t injected = 0;
    std::string mustMove;
};

/// A counter or message that faults must move.
struct Movement {
    static constexpr auto anyNumber = std::numeric_limits<std::uint64_t>::max();

    std::string what;
    PortAddress where;
    std::uint64_t least = 0, most = 0;       ///< that it must have moved
    std::optional<std::uint64_t> moved = {}; ///< nothing: the run did not see it
    bool mustBeSeen = false;                 ///< not seeing it is a difference

    bool differs() const noexcept { return moved ? *moved < least || *moved > most : mustBeSeen; }
};

/// One side of an account, with what it consists of.
struct Statement {
    struct Part {
        std::string name;
        std::uint64_t frames = 0;
    };
    std::string what; ///< as in "0/0 sent"
    Part whole;
    std::vector<Part> parts;  ///< only those that there are need to be told
    std::vector<Part> added;  ///< to the whole
    std::string missing = {}; ///< a part that nobody told; empty: none

    bool differs() const noexcept;
};

struct Ledger {
    std::string script;
    std::uint64_t seed = 0;
    std::vector<InjectedFault> faults;
    std::vector<Movement> movements;
    std::vector<Statement> statements;

    bool passed() const noexcept;
};

std::string textOfInjections(const Ledger& ledger); ///< alone, where the run told no more
std::string textOf(const Ledger& ledger);
nlohmann::ordered_json jsonOf(const Ledger& ledger);

} // namespace orvo::host
