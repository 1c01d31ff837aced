// SPDX-License-Identifier: MIT
// Subcommand `config`: what is set, and where.
#pragma once

#include "cli/Command.h"

#include <string>
#include <vector>

namespace orvo::host {

class ConfigCommand : public Command {
public:
    explicit ConfigCommand(Program& program);
    int run() override;

private:
    std::string root_;
    std::vector<std::string> arguments_;
    bool json_ = false;
};

} // namespace orvo::host
