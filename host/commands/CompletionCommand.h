// SPDX-License-Identifier: MIT
// Subcommand `completion`: scripts with which shells complete the command line.
#pragma once

#include "cli/Command.h"

#include <string>

namespace orvo::host {

class CompletionCommand : public Command {
public:
    /// `program` must outlive it; what is declared when it runs is in the script.
    explicit CompletionCommand(Program& program);
    int run() override;

private:
    const Program& program_;
    std::string shell_;
};

} // namespace orvo::host
