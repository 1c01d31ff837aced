// SPDX-License-Identifier: MIT
// The subcommand `reset`.
#pragma once

#include "cli/Command.h"
#include "commands/SharedOptions.h"

namespace orvo::host {

/// Resets the PHY of one port and waits for its link.
class ResetCommand : public Command {
public:
    explicit ResetCommand(Program& program);
    int run() override;

private:
    InstallationOptions installation_;
    PortAddress port_;
    bool json_ = false;
};

} // namespace orvo::host
