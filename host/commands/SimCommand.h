// SPDX-License-Identifier: MIT
// The subcommand `sim`.
#pragma once

#include "cli/Command.h"

#include <cstdint>
#include <string>
#include <vector>

namespace orvo::host {

/// The hand at simulated boards that a server holds: cables, plugs, faults, reports and power.
class SimCommand : public Command {
public:
    explicit SimCommand(Program& program);
    int run() override;

private:
    std::string root_;
    std::string action_;
    std::vector<std::string> arguments_;
    unsigned board_ = 0;
    std::uint64_t seed_ = 0;
    bool json_ = false;
};

} // namespace orvo::host
