// SPDX-License-Identifier: MIT
// Fault scripts: which faults are to happen when, as a TOML text says it.
#pragma once

#include "base/Clock.h"
#include "config/Configuration.h"
#include "faults/FaultKinds.h"

#include <optional>

namespace orvo::sim {

/// When a fault happens: at which of the occurrences that its kind counts, or at which moments. Moments count
/// from the loading of the script, or from the write that arms the fault.
struct FaultSchedule {
    std::uint64_t at = 0;    ///< this occurrence alone; 0: not so
    std::uint64_t every = 1; ///< every so many, the first one at `from + every - 1`
    std::uint64_t from = 1, to = UINT64_MAX;
    std::uint64_t rate = UINT64_MAX; ///< the share of the occurrences, of 2^53; more: all
    SimTime fromTime{}, toTime = never;
    std::optional<SimTime> atTime;    ///< a moment instead of an occurrence
    SimTime everyTime{};              ///< then again and again; 0: once
    std::uint64_t times = UINT64_MAX; ///< at most
    std::string armedBy;              ///< only from a write to this register on; empty: at once
    std::uint64_t armingValue = 0;    ///< the value written
};

struct FaultSpec {
    const FaultKindRow* kind = nullptr;
    OrvoSimEvidence evidence = OrvoSimNoEvidence; ///< the kind's, unless the register makes it another one
    unsigned line = 1, registerLine = 1, armingLine = 1;
    PortPlace place;
    bool received = false; ///< in the direction towards the port; otherwise away from it
    FaultSchedule when;
    SimTime duration{};
    int result = -1;         ///< of an access that fails
    std::uint64_t value = 0; ///< of a register read that succeeds: a call's, which scripts do not have
    std::string registerName;
    unsigned reports = 100;
};

struct FaultScript {
    std::filesystem::path file;
    std::vector<FaultSpec> faults;
};

/// Takes a script apart; knows no boards. Throws ConfigurationError.
FaultScript parseFaultScript(std::string_view text, const std::filesystem::path& file);

/// The same from the file itself.
FaultScript loadFaultScript(const std::filesystem::path& file);

} // namespace orvo::sim
