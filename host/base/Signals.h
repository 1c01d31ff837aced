// SPDX-License-Identifier: MIT
// Signals: a flag that asks the program to end, and, for a process that waits for others, signals taken one
// by one.
#pragma once

#include <chrono>
#include <csignal>
#include <optional>

#include <sys/types.h>

namespace orvo::host {

/// From now on SIGINT, SIGTERM and SIGHUP only raise a flag, which every loop of the program looks at. SIGHUP
/// stays ignored where it was (nohup). A signal that comes a second later or more ends the process, at once
/// or after the pacing sleep of a board that a SignalShield protects. A closed pipe and a reached file size
/// limit become write errors.
void installSignalHandlers();

/// The number of the signal that asked the program to end, 0 when none did. Any thread; costs a load.
int endRequested() noexcept;

/// Readable, as poll sees it, once a signal asked the program to end. -1, which poll skips, before
/// `installSignalHandlers`.
int endDescriptor() noexcept;

/// Throws Interruption when a signal asked the program to end.
void throwIfEndRequested();

/// Waits until `limit`, to the millisecond; less when a signal asks the program to end or when the descriptor
/// `wake` becomes readable. Returns whether one of these two ended it.
bool awaitEndRequest(std::chrono::steady_clock::time_point limit, int wake = -1);
bool awaitEndRequest(std::chrono::milliseconds atMost);

/// While it lives, these signals do not interrupt system calls of this thread: the board's pacing sleeps must
/// not be cut short. The flag is raised later, or by another thread.
class SignalShield {
public:
    SignalShield();
    ~SignalShield();
    SignalShield(const SignalShield&) = delete;
    SignalShield& operator=(const SignalShield&) = delete;

private:
    sigset_t before_;
};

struct Signal {
    int number = 0;
    int code = 0;     ///< its origin, as in siginfo_t
    pid_t sender = 0; ///< 0: no process, or one of another process namespace

    /// A key press: the kernel sends it to the terminal's whole foreground group.
    bool isFromTerminal() const noexcept { return number == SIGINT && code == SI_KERNEL; }
};

/// From now on SIGINT, SIGTERM, SIGHUP, SIGCHLD and SIGUSR1 stay pending until `awaitSignal` takes them, in
/// this process and in its children. Main thread.
void blockAwaitedSignals();

/// The next of them.
Signal awaitSignal();

/// The next of them; nothing when none came in time.
std::optional<Signal> awaitSignal(timespec atMost);

/// In a child: signals are delivered as before `blockAwaitedSignals`.
void unblockAwaitedSignals();

/// Signals that this program ignores, and that another program expects with their default action.
sigset_t signalsToRestore();

/// In a child that becomes another program: unblocks, and restores the default action of signals that this
/// program ignores.
void resetSignals();

/// A process's exit code from the status that waitpid gives: 128 plus the signal's number where a signal
/// ended it.
int exitCodeOf(int status);

} // namespace orvo::host
