// SPDX-License-Identifier: MIT
// The subcommand `diagnose`.
#pragma once

#include "app/Command.h"
#include "app/Options.h"
#include "board/Session.h"
#include "commands/ReportParts.h"

#include <nlohmann/json.hpp>

#include <string>

namespace orvo::host {

class FaultWatch;

struct Diagnosed {
    nlohmann::ordered_json document;
    PortStatistics statistics;
};

/// Opens the port as it is, without a reset, lets the plug-in write its diagnostic report, and decodes it;
/// about 5 s. `watch`, if not null, ends its faults then. Errors: Failure when the port cannot be opened, or
/// the installation does not hand the report out.
Diagnosed diagnose(const Session& session, PortAddress port, FaultWatch* watch = nullptr);

/// Shows what a port and its link are like, and what is wrong with them.
class DiagnoseCommand : public Command {
public:
    explicit DiagnoseCommand(Program& program);
    int run() override;

private:
    InstallationOptions installation_;
    PortOptions port_;
    bool json_ = false;
    std::string oldFile_; // empty: nothing to compare with
};

} // namespace orvo::host
