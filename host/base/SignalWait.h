// SPDX-License-Identifier: MIT
// Signals taken one by one, instead of by handlers.
#pragma once

#include <csignal>
#include <optional>

#include <sys/types.h>

namespace orvo::host {

struct Signal {
    int number = 0;
    int code = 0;     ///< where it comes from, as in siginfo_t
    pid_t sender = 0; ///< 0: none, or one of another process namespace

    /// Sent by a key, to every process of the terminal's foreground group.
    bool isFromTerminal() const noexcept { return number == SIGINT && code == SI_KERNEL; }
};

/// From now on SIGINT, SIGTERM, SIGHUP, SIGCHLD and SIGUSR1 wait until they are taken, in this process and in
/// its children.
void blockAwaitedSignals();

/// The next of them.
Signal awaitSignal();

/// The same; nothing when none came in time.
std::optional<Signal> awaitSignal(timespec atMost);

/// In a child: signals come as they did before `blockAwaitedSignals`.
void unblockAwaitedSignals();

/// In a child that becomes another program: the same, and what this program ignores ends that one.
void resetSignals();

/// A process's exit code from what waitpid tells of its end: 128 and the signal's number, where one ended it.
int exitCodeOf(int status);

} // namespace orvo::host
