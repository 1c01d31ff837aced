// SPDX-License-Identifier: MIT
// The subcommand `lab`.
#pragma once

#include "cli/Command.h"
#include "lab/Lab.h"

namespace orvo::host {

/// Runs commands in two network namespaces, at the ends of a cable that leads through the board.
class LabCommand : public Command {
public:
    explicit LabCommand(Program& program);
    int run() override;

private:
    void addAddress(const char* name, LabAddress& address, const char* text, const char* description);
    void check() const;

    LabOptions options_;
};

} // namespace orvo::host
