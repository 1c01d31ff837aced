// SPDX-License-Identifier: MIT
// Subcommand `bridge`: a port as a network interface of Linux.
#pragma once

#include "cli/Command.h"
#include "traffic/BridgeRun.h"

namespace orvo::host {

class BridgeCommand : public Command {
public:
    explicit BridgeCommand(Program& program);
    int run() override;

private:
    BridgeOptions options_;
};

} // namespace orvo::host
