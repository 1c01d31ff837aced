// SPDX-License-Identifier: MIT
// The server whose simulated boards this process uses.
#pragma once

#include "base/Repetition.h"
#include "device/SimulatorControl.h"

#include <string>

namespace orvo::host {

/// Whether the environment asks for a server, so that its absence is an error.
bool isServerChosen();

/// "server 'NAME' (SOCKET)", or "the server at SOCKET" where the user named the socket.
std::string serverText(const std::string& socket);

/// Ends the program, as SIGTERM does, when the server has ended. An end that takes longer than 2 s is cut
/// short.
class ServerWatch {
public:
    explicit ServerWatch(const SimulatorControl& simulator);
    ~ServerWatch();
    ServerWatch(const ServerWatch&) = delete;
    ServerWatch& operator=(const ServerWatch&) = delete;

    /// Whether a watch of this process found its server gone. Every other error may follow from that.
    static bool hasLostServer() noexcept;
    /// What the user reads then.
    static std::string lossText();

private:
    void watch();

    const SimulatorControl& simulator_;
    int looksSinceLoss_ = 0; // the watching thread's
    Repetition looking_;
};

} // namespace orvo::host
