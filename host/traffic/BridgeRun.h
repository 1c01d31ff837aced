// SPDX-License-Identifier: MIT
// A bridge from the making of its TAP to its report: a port as a network interface of Linux.
#pragma once

#include "traffic/BridgeReport.h"

#include <functional>

namespace orvo::host {

class NetworkNamespace;

/// What is different when the bridge is part of a lab.
struct BridgeSetting {
    /// Where the interfaces of the board's wires are; null: in the calling thread's namespace, like the TAP.
    const NetworkNamespace* wires = nullptr;
    /// Called once frames can pass; there is no notice and no progress line then.
    std::function<void()> ready = {};
};

/// Bridges until a signal asks for the end. SIGUSR1: the report so far on standard error; SIGUSR2: releases
/// the device, or opens it again. Before other threads start. Errors: Failure, UsageFailure.
BridgeReport runBridge(const BridgeRequest& request, const BridgeSetting& setting = {});

} // namespace orvo::host
