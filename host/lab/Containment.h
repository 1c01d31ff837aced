// SPDX-License-Identifier: MIT
// A process whose end is the end of everything that was started below it.
#pragma once

#include <functional>

namespace orvo::host {

/// Runs `work` in a process of its own, the first of new process and mount namespaces, and returns the exit
/// code that it returned. When that process ends, or this one, however it comes about, the kernel ends every
/// process below. SIGINT, SIGTERM and SIGHUP that somebody sends to this process are passed on; there they
/// are blocked, as is SIGCHLD, and taken by `awaitSignal`. Call it on the main thread, as its last work and
/// before other threads start. Errors: Failure where there can be no namespaces; Interruption. What `work`
/// throws is told on standard error, and makes the exit code 1.
int runContained(const std::function<int()>& work);

} // namespace orvo::host
