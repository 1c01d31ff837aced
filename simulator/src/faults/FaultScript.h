// SPDX-License-Identifier: MIT
// Fault scripts, TOML texts that say which faults happen when.
#pragma once

#include "base/Clock.h"
#include "config/Configuration.h"
#include "faults/FaultKinds.h"

#include <optional>

namespace orvo::sim {

/// When a fault happens: at which occurrences of what its kind counts, or at which moments. Moments count
/// from the loading of the script, or from the write that arms the fault.
struct FaultSchedule {
    std::uint64_t at = 0;    ///< only at this occurrence; 0: not used
    std::uint64_t every = 1; ///< at every so-many-th, first at `from + every - 1`
    std::uint64_t from = 1, to = UINT64_MAX;
    std::uint64_t rate = UINT64_MAX; ///< share of the occurrences in units of 2^-53; more: all
    SimTime fromTime{}, toTime = never;
    std::optional<SimTime> atTime;    ///< at this moment, instead of an occurrence
    SimTime everyTime{};              ///< and again after each such time; 0: once
    std::uint64_t times = UINT64_MAX; ///< at most
    std::string armedBy;              ///< not before a write to this register; empty: from the start
    std::uint64_t armingValue = 0;    ///< the value written
};

struct FaultSpec {
    const FaultKindRow* kind = nullptr;
    OrvoSimEvidence evidence = OrvoSimNoEvidence; ///< the kind's, unless the register changes it
    unsigned line = 1, registerLine = 1, armingLine = 1;
    PortPlace place;
    bool received = false; ///< true: towards the port; false: away from it
    FaultSchedule when;
    SimTime duration{};
    int result = -1;         ///< what a failing access returns
    std::uint64_t value = 0; ///< what a register read gives, in faults that calls arm
    std::string registerName;
    unsigned reports = 100;
};

struct FaultScript {
    std::filesystem::path file;
    std::vector<FaultSpec> faults;
};

/// Parses a script without looking at boards. Throws ConfigurationError.
FaultScript parseFaultScript(std::string_view text, const std::filesystem::path& file);

/// The same from the file itself.
FaultScript loadFaultScript(const std::filesystem::path& file);

} // namespace orvo::sim
