// SPDX-License-Identifier: MIT
// Subcommand `boards`: what boards and ports there are.
#pragma once

#include "cli/Command.h"
#include "commands/SharedOptions.h"

namespace orvo::host {

class BoardsCommand : public Command {
public:
    explicit BoardsCommand(Program& program);
    int run() override;

private:
    InstallationOptions installation_;
    bool json_ = false;
};

} // namespace orvo::host
