// SPDX-License-Identifier: MIT
// Subcommand `replay`: a capture through a port and back.
#pragma once

#include "cli/Command.h"
#include "commands/SharedOptions.h"
#include "frames/Pace.h"

#include <optional>
#include <string>

namespace orvo::host {

struct ReplayOptions {
    std::string input;
    std::string output; ///< empty: none
    bool verify = false;
    Pace pace;
    std::uint64_t times = 1; ///< that the capture is sent; 0: until a signal ends it
    bool json = false;
    PortOptions port;
    std::optional<PortAddress> receivingPort; ///< as given; otherwise where the wire leads
    InstallationOptions installation;
};

class ReplayCommand : public Command {
public:
    explicit ReplayCommand(Program& program);
    int run() override;

private:
    ReplayOptions options_;
};

} // namespace orvo::host
