// SPDX-License-Identifier: MIT
// Subcommand `capture`: what a port receives, as pcapng.
#pragma once

#include "cli/Command.h"
#include "commands/SharedOptions.h"
#include "frames/CaptureOutput.h"
#include "traffic/Capture.h"

#include <optional>
#include <string>

namespace orvo::host {

struct CaptureOptions {
    std::string output;
    std::optional<FileRing> ring;
    std::string filter; ///< empty: every frame passes
    CaptureLimits limits;
    bool json = false;
    PortOptions port;
    InstallationOptions installation;
};

/// Captures as asked for, and reports. Returns the exit code. Errors: Failure, Interruption.
int runCapture(const CaptureOptions& options);

class CaptureCommand : public Command {
public:
    explicit CaptureCommand(Program& program);
    int run() override;

private:
    CaptureOptions options_;
};

} // namespace orvo::host
