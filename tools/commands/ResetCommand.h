// SPDX-License-Identifier: MIT
// The subcommand `reset`.
#pragma once

#include "app/Command.h"
#include "app/Options.h"

namespace orvo::host {

/// Resets the PHY of one port and waits for its link.
class ResetCommand : public Command {
public:
    explicit ResetCommand(Program& program);
    int run() override;

private:
    InstallationOptions installation_;
    PortOptions port_;
    bool json_ = false;
};

} // namespace orvo::host
