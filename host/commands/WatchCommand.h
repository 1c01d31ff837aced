// SPDX-License-Identifier: MIT
// The subcommand `watch`.
#pragma once

#include "cli/Command.h"
#include "commands/SharedOptions.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace orvo::host {

/// Shows what all ports do, without having part in it.
class WatchCommand : public Command {
public:
    explicit WatchCommand(Program& program);
    int run() override;

private:
    InstallationOptions installation_;
    std::optional<unsigned> board_; // nothing: all
    std::chrono::duration<double> interval_{1};
    std::chrono::duration<double> linkInterval_{10};
    std::uint64_t count_ = 0; // 0: until a signal
    std::string prometheusFile_;
    bool json_ = false;
    bool list_ = false;
};

} // namespace orvo::host
