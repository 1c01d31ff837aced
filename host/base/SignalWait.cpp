// SPDX-License-Identifier: MIT
// The blocked set, and taking from it.
#include "base/SignalWait.h"

#include "base/Failure.h"

#include <sys/wait.h>

namespace orvo::host {
namespace {

constexpr int awaited[] = {SIGINT, SIGTERM, SIGHUP, SIGCHLD, SIGUSR1};
constexpr int ignoredByUs[] = {SIGPIPE, SIGXFSZ, SIGTTOU};

sigset_t before; // as it was when the program started; the main thread's alone

sigset_t awaitedSet() {
    sigset_t set;
    sigemptyset(&set);
    for (const int number : awaited) sigaddset(&set, number);
    return set;
}

Signal signalFrom(const siginfo_t& information) {
    return {information.si_signo, information.si_code, information.si_pid};
}

} // namespace

void blockAwaitedSignals() {
    const auto set = awaitedSet();
    pthread_sigmask(SIG_BLOCK, &set, &before);
}

Signal awaitSignal() {
    const auto set = awaitedSet();
    siginfo_t information = {};
    while (sigwaitinfo(&set, &information) < 0) { // it was stopped and continued
    }
    return signalFrom(information);
}

std::optional<Signal> awaitSignal(timespec atMost) {
    const auto set = awaitedSet();
    siginfo_t information = {};
    if (sigtimedwait(&set, &information, &atMost) < 0) return std::nullopt;
    return signalFrom(information);
}

void unblockAwaitedSignals() {
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

void resetSignals() {
    for (const int number : ignoredByUs) std::signal(number, SIG_DFL);
    unblockAwaitedSignals();
}

int exitCodeOf(int status) {
    return WIFEXITED(status) ? WEXITSTATUS(status) : EndedBySignal + WTERMSIG(status);
}

} // namespace orvo::host
