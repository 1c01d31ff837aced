// SPDX-License-Identifier: MIT
// Process namespaces end with their first process, and that one is made to end with this one.
#include "lab/Containment.h"

#include "base/Failure.h"
#include "base/NetworkNamespace.h"
#include "base/Notice.h"
#include "base/SignalWait.h"
#include "base/Signals.h"
#include "base/Terminal.h"

#include <poll.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

namespace orvo::host {
namespace {

/// A process, to be asked from other process namespaces.
class ProcessHandle {
public:
    explicit ProcessHandle(pid_t id) : descriptor_(static_cast<int>(syscall(SYS_pidfd_open, id, 0))) {}
    ~ProcessHandle() { close(descriptor_); }
    ProcessHandle(const ProcessHandle&) = delete;
    ProcessHandle& operator=(const ProcessHandle&) = delete;

    bool hasEnded() const noexcept {
        pollfd process{descriptor_, POLLIN, 0};
        return poll(&process, 1, 0) > 0;
    }

private:
    const int descriptor_; // on a kernel without them -1, which never shows anything
};

/// The kernel kills this process once its parent has ended; if that was before it knew, it ends by itself.
void endWith(const ProcessHandle& parent) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (parent.hasEnded()) _exit(Failed);
}

/// What is mounted from now on is seen here only, and /proc shows the processes of here.
void makeOwnMounts() {
    unshareNamespaces(CLONE_NEWNS);
    if (mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
        mount("proc", "/proc", "proc", MS_NOSUID | MS_NODEV | MS_NOEXEC, nullptr) != 0)
        throw Failure("cannot mount /proc: " + systemError(errno) +
                      "; run it on the machine itself, or in a container that was started with --privileged");
}

int outcomeOf(const std::function<int()>& work) {
    try {
        makeOwnMounts();
        return work();
    } catch (const std::exception& error) {
        notice(error.what());
        return Failed;
    }
}

// A signal that the terminal sent has reached the processes below without help.
int awaitEnd(pid_t process) {
    for (;;) {
        const auto signal = awaitSignal();
        if (signal.number != SIGCHLD) {
            if (!signal.isFromTerminal()) kill(process, signal.number);
            continue;
        }
        int status = 0;
        if (waitpid(process, &status, WNOHANG) == process) return exitCodeOf(status);
    }
}

} // namespace

int runContained(const std::function<int()>& work) {
    const TerminalForeground terminal;
    blockAwaitedSignals();
    throwIfEndRequested();
    const ProcessHandle self(getpid());
    unshareNamespaces(CLONE_NEWPID);
    const pid_t first = fork();
    if (first < 0) throw Failure("cannot start a process: " + systemError(errno) + "; end others first");
    if (first != 0) return awaitEnd(first);
    endWith(self);
    const int code = outcomeOf(work);
    std::fflush(nullptr);
    _exit(code);
}

} // namespace orvo::host
