// SPDX-License-Identifier: MIT
// A camera end and a host end, with a port of the simulated board between them.
#pragma once

#include "base/Child.h"
#include "base/NetworkNamespace.h"
#include "base/SignalWait.h"
#include "device/PortAddress.h"
#include "frames/Interface.h"

#include <optional>
#include <string>
#include <vector>

namespace orvo::host {

/// An address of one end, as it was given and as it is.
struct LabAddress {
    std::string text; ///< "192.168.77.1/24"
    NetworkAddress value;

    std::string withoutPrefix() const { return text.substr(0, text.find('/')); }
};

struct LabOptions {
    std::vector<std::string> command; ///< of the host end
    std::string camera;               ///< command of the camera end, for a shell; may be empty
    LabAddress cameraAddress;
    LabAddress hostAddress;
    PortAddress port;
    std::string root; ///< of the installation
    bool interactive = false;
};

/// Three network namespaces: the camera's, the host's, and the board's, where the port's wire ends, so that
/// the kernel answers at neither end for the board. Everything in them lasts as long as this process, which
/// must be the one of `runContained`.
class Lab {
public:
    static constexpr auto cameraInterface = "camera0"; ///< in the camera end
    static constexpr auto hostInterface = "gige0";     ///< in the host end: the board's port

    /// Makes the namespaces and the cable of the camera. Errors: Failure.
    explicit Lab(const LabOptions& options);

    /// Starts the bridge and the camera's program, then, once frames can pass, the host's command; returns
    /// its exit code, 1 when the bridge ended before it, 128 and the number of a signal that came before.
    /// Errors: Failure.
    int run();

private:
    Child startBridge();
    Child startCamera();
    Child startCommand();
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
    Child bridge_, cameraProgram_, command_;
    bool bridgeReady_ = false;
    bool ending_ = false;
    int endSignal_ = 0;
};

} // namespace orvo::host
