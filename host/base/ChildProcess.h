// SPDX-License-Identifier: MIT
// Child processes, and which process group has the terminal.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>

namespace orvo::host {

class NetworkNamespace;

struct ChildProcess {
    pid_t id = 0;                     ///< 0: not started
    std::optional<int> exitCode = {}; ///< once it has ended

    bool isRunning() const noexcept { return id != 0 && !exitCode; }
};

/// Starts a child that runs `work` and ends with the exit code that it returns. An exception of `work` is
/// printed on standard error and makes the code 1. Errors: Failure.
ChildProcess startChild(const std::function<int()>& work);

/// Starts a program that writes its output to standard error, as standard output holds this program's
/// results. Errors: Failure with the reason.
ChildProcess startProgram(std::vector<std::string> command);

/// Waits until the child has ended. SIGTERM and SIGHUP that ask this process to end are passed on to it; a
/// key press on the terminal reaches it anyway.
void awaitChild(ChildProcess& child);

/// For a child's work: leaves the terminal's process group, so that no key reaches it, and empties its input.
void leaveTerminal();

/// For a child's work: replaces it by a program in a network namespace, with that namespace's interfaces in
/// /sys. Returns, with a shell's exit code, only when the program cannot be started. Errors: Failure.
int becomeProgram(std::vector<std::string> command, const NetworkNamespace& place);

/// Whether there is such a program, by its path or in PATH.
bool isProgram(const std::string& name);

/// Whether this process is in the foreground of a terminal that it reads and writes, as when started from a
/// shell. Unreliable in another process namespace, where group numbers are unknown.
bool isInteractive();

/// Makes the calling process a group of its own and the terminal's foreground group, as shells expect it.
void becomeForegroundGroup();

/// Gives the foreground back to this process in the end, if it had it at the start.
class ForegroundGuard {
public:
    ForegroundGuard();
    ~ForegroundGuard();
    ForegroundGuard(const ForegroundGuard&) = delete;
    ForegroundGuard& operator=(const ForegroundGuard&) = delete;

private:
    const bool wasOurs_;
};

} // namespace orvo::host
