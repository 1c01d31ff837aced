// SPDX-License-Identifier: MIT
// The subcommand `simulate`.
#pragma once

#include "cli/Command.h"
#include "commands/SharedOptions.h"

namespace orvo::host {

/// Holds simulated boards that other programs use, until a signal ends it.
class SimulateCommand : public Command {
public:
    explicit SimulateCommand(Program& program);
    int run() override;

private:
    InstallationOptions installation_;
    std::string name_ = "default";
    std::string config_;
    std::string lineRate_; // empty: as configured
};

} // namespace orvo::host
