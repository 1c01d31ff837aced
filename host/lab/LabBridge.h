// SPDX-License-Identifier: MIT
// The board's part of the lab.
#pragma once

#include <functional>

namespace orvo::host {

class NetworkNamespace;
struct LabOptions;

/// Carries frames between the host end's interface, which it makes in the calling thread's namespace, and
/// `boardInterface` in `board`, through the port, until a signal asks for the end; then reports on standard
/// error. `ready` is called once frames can pass. Returns an exit code. Errors: Failure.
int runLabBridge(const LabOptions& options, const char* boardInterface, const NetworkNamespace& board,
                 const std::function<void()>& ready);

} // namespace orvo::host
