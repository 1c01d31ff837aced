// SPDX-License-Identifier: MIT
// Subcommand `doctor`: whether this installation works, and what mends it.
#pragma once

#include "cli/Command.h"
#include "device/PortAddress.h"

#include <string>

namespace orvo::host {

class DoctorCommand : public Command {
public:
    explicit DoctorCommand(Program& program);
    int run() override;

private:
    std::string root_;
    PortAddress port_;
    bool json_ = false;
};

} // namespace orvo::host
