// SPDX-License-Identifier: MIT
// Runs work so that every process that it starts ends with it.
#pragma once

#include <functional>

namespace orvo::host {

/// Runs `work` in a child, the first process of new process and mount namespaces, and returns the exit code
/// that it returned. When the child or this process ends, for whatever reason, the kernel kills every process
/// in the namespace. SIGINT, SIGTERM and SIGHUP that another process sends to this one are passed on to the
/// child; there they are blocked, as is SIGCHLD, and taken by `awaitSignal`. What `work` throws is printed on
/// standard error and makes the exit code 1. Call it on the main thread, last, and before other threads
/// start. Errors: Failure where no namespaces can be made; Interruption.
int runInProcessNamespace(const std::function<int()>& work);

} // namespace orvo::host
