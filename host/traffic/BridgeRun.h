// SPDX-License-Identifier: MIT
// A bridge from its TAP to its report: a port as a network interface of Linux.
#pragma once

#include "device/InstallationOptions.h"
#include "frames/Interface.h"

#include <functional>
#include <optional>
#include <string>

namespace orvo::host {

class NetworkNamespace;

struct BridgeOptions {
    std::string tap;
    bool setUp = false;
    std::string addressText;
    std::optional<NetworkAddress> address; ///< of the TAP
    bool json = false;
    PortOptions port;
    InstallationOptions installation;
};

/// What is different where the bridge is part of something larger.
struct BridgeSetting {
    /// Where the interfaces of the board's wires are; null: in the calling thread's namespace, as the TAP is.
    const NetworkNamespace* wires = nullptr;
    /// Called once frames can pass, in place of telling the user so and of the line of live totals.
    std::function<void()> ready = {};
};

/// Bridges until a signal asks for the end, then prints the report; returns the exit code. Errors: Failure.
int runBridge(const BridgeOptions& options, const BridgeSetting& setting = {});

} // namespace orvo::host
