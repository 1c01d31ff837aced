// SPDX-License-Identifier: MIT
// Orderly end on SIGINT, SIGTERM and SIGHUP (the terminal is closed): they only raise a flag, and every loop
// of the program looks at it.
#pragma once

#include <csignal>

namespace orvo::host {

/// From now on these signals raise the flag, SIGHUP unless the program was started with it ignored; a second
/// one of the same kind ends the process, at once or after the pacing sleep of a board that a SignalShield
/// protects. A closed pipe and a reached file size limit are write errors like any other, and no signals.
void installSignalHandlers();

/// The number of the signal that asked for the end, 0 when none did. Any thread; costs a load.
int endRequested() noexcept;

/// Readable, as poll sees it, once a signal asked for the end: for threads that wait for files and sockets.
/// -1 before `installSignalHandlers`, which poll takes for nothing to wait for.
int endDescriptor() noexcept;

/// Throws Interruption when a signal asked for the end.
void throwIfEndRequested();

/// Keeps these signals from interrupting system calls of this thread while it lives: the board's pacing
/// sleeps must not be cut short. The flag is raised later, or by another thread.
class SignalShield {
public:
    SignalShield();
    ~SignalShield();
    SignalShield(const SignalShield&) = delete;
    SignalShield& operator=(const SignalShield&) = delete;

private:
    sigset_t before_;
};

} // namespace orvo::host
