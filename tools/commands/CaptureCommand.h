// Subcommand `capture`: what a port receives, as pcapng.
#pragma once

#include "app/Command.h"
#include "app/Options.h"
#include "capture/CaptureOutput.h"
#include "traffic/Capture.h"

#include <optional>
#include <string>

namespace orvo::host {

class Ports;

struct CaptureOptions {
    std::string output;
    std::optional<FileRing> ring;
    std::string filter; ///< empty: every frame passes
    CaptureLimits limits;
    bool json = false;
    PortOptions port;
    InstallationOptions installation;
};

class CaptureCommand : public Command {
public:
    explicit CaptureCommand(CLI::App& program);
    int run() override;

private:
    CaptureResult record(Ports& ports, CaptureOutput& output, const FrameFilter* filter) const;

    CaptureOptions options_;
};

} // namespace orvo::host
