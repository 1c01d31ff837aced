// SPDX-License-Identifier: MIT
// Subcommand `boards`: what boards and ports there are.
#pragma once

#include "app/Command.h"
#include "app/Options.h"

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
