// SPDX-License-Identifier: MIT
// The subcommand `diagnose`.
#pragma once

#include "cli/Command.h"
#include "commands/SharedOptions.h"
#include "device/BoardAccess.h"
#include "device/PortStatistics.h"

#include <nlohmann/json.hpp>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace orvo::host {

class FaultWatch;
class Observation;

struct Diagnosed {
    nlohmann::ordered_json document;
    PortStatistics statistics;
    std::vector<std::string> dump; ///< the plug-in's lines that the document was made from
};

/// Opens the port as it is, without a reset, lets the plug-in write its diagnostic report, and decodes it;
/// about 5 s. `watch`, if not null, ends its faults then; `observation`, if not null, goes on afterwards, and
/// what it found is in the document, too.
/// Errors: Failure when the port cannot be opened, or the installation does not hand the report out.
Diagnosed diagnose(const BoardAccess& session, PortAddress address, FaultWatch* watch = nullptr,
                   Observation* observation = nullptr);

/// Shows what a port and its link are like, and what is wrong with them.
class DiagnoseCommand : public Command {
public:
    explicit DiagnoseCommand(Program& program);
    int run() override;

private:
    InstallationOptions installation_;
    PortAddress port_;
    bool json_ = false;
    std::string oldFile_;                                          // empty: nothing to compare with
    std::string pageFile_, bundleFile_;                            // empty: not wanted
    std::optional<std::chrono::duration<double>> observationTime_; // nothing: not given
};

} // namespace orvo::host
