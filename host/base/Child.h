// SPDX-License-Identifier: MIT
// Processes of the lab.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>

namespace orvo::host {

class NetworkNamespace;

/// A process that was started, and how it ended.
struct Child {
    pid_t id = 0;
    std::optional<int> exitCode = {}; ///< once it has ended

    bool isRunning() const noexcept { return id != 0 && !exitCode; }
};

/// Starts a child that does `work` and ends with the exit code that it returns; what it throws is told on
/// standard error and makes the code 1. Errors: Failure.
Child startChild(const std::function<int()>& work);

/// For a child's work: no key that is pressed at the terminal is for this process.
void leaveTerminal();

/// For a child's work: becomes a program in one end of the lab, with what belongs to that end in /sys.
/// Returns, with an exit code, only when the program cannot be started. Errors: Failure.
int becomeProgram(std::vector<std::string> command, const NetworkNamespace& end);

/// Whether there is such a program, by its path or in PATH.
bool isProgram(const std::string& name);

} // namespace orvo::host
