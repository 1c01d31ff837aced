// SPDX-License-Identifier: MIT
// A camera end and a host end, with a port of the simulated board between them.
#pragma once

#include "base/ChildProcess.h"
#include "base/NetworkNamespace.h"
#include "base/Signals.h"
#include "device/PortAddress.h"
#include "frames/Interface.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace orvo::host {

struct BridgeReport;

struct LabOptions {
    std::vector<std::string> command; ///< runs in the host end
    std::string camera;               ///< shell command that runs in the camera end; may be empty
    NetworkAddress cameraAddress;
    NetworkAddress hostAddress;
    PortAddress port;
    std::string root; ///< of the installation
    bool interactive = false;
    /// What to print on standard error in the end; empty: the bridge's whole report.
    std::function<std::string(const BridgeReport&)> report = {};
};

/// Three network namespaces: the camera's, the host's, and the board's. The port's wire ends in the board's,
/// so that the kernel of neither end answers for the board. Runs in the process of `runInProcessNamespace`,
/// with which everything here ends.
class Lab {
public:
    static constexpr auto cameraInterface = "camera0"; ///< in the camera end
    static constexpr auto hostInterface = "gige0";     ///< in the host end: the board's port

    /// Makes the namespaces and the camera's cable. Errors: Failure.
    explicit Lab(const LabOptions& options);

    /// Starts the bridge and the camera's program, and the host's command once frames can pass. Returns the
    /// command's exit code; 1 when the bridge ended first; 128 plus its number when a signal came first.
    /// Errors: Failure.
    int run();

private:
    ChildProcess startBridge();
    int bridge() const;
    ChildProcess startCamera();
    ChildProcess startCommand();
    bool awaitBridge();
    int awaitCommand();
    void endEverything();
    bool take(const std::optional<Signal>& signal);
    void collectEnded();
    void note(pid_t process, int exitCode);

    const LabOptions& options_;
    const NetworkNamespace board_;
    const NetworkNamespace camera_;
    const NetworkNamespace host_;
    ChildProcess bridge_, cameraProgram_, command_;
    bool bridgeReady_ = false;
    bool ending_ = false;
    int endSignal_ = 0;
};

} // namespace orvo::host
