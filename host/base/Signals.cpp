// SPDX-License-Identifier: MIT
#include "base/Signals.h"

#include "base/Failure.h"
#include "base/FileDescriptor.h"

#include <poll.h>
#include <sys/wait.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <initializer_list>

namespace orvo::host {

using namespace std::chrono_literals;

namespace {

constexpr std::initializer_list<int> endSignals = {SIGINT, SIGTERM, SIGHUP};
constexpr std::initializer_list<int> childSignals = {SIGCHLD, SIGUSR1};
constexpr std::initializer_list<int> writeSignals = {SIGPIPE, SIGXFSZ}; // pipe closed; file too large

std::atomic<int> requestedBy{0};
std::atomic<std::int64_t> requestedAt{0}; // on the steady clock, in nanoseconds; 0: not yet
std::atomic<EventFd*> ended{nullptr}; // made once and never freed: a handler may run until the last moment
static_assert(std::atomic<int>::is_always_lock_free && std::atomic<std::int64_t>::is_always_lock_free &&
                  std::atomic<EventFd*>::is_always_lock_free,
              "a signal handler may use them");
constexpr std::chrono::milliseconds longestPoll = 1h; // poll counts milliseconds in an int
sigset_t maskAtStart;                                 // the main thread's alone

std::int64_t steadyNs() noexcept {
    return std::chrono::nanoseconds(std::chrono::steady_clock::now().time_since_epoch()).count();
}

/// A signal that comes again within a second is the same request: timeout(1) sends one to the process and to
/// its group. A later one ends the process.
void requestEnd(int number) {
    constexpr std::int64_t againAfter = std::chrono::nanoseconds(1s).count();
    std::int64_t first = 0;
    if (!requestedAt.compare_exchange_strong(first, steadyNs())) {
        if (steadyNs() - first < againAfter) return;
        std::signal(number, SIG_DFL);
        raise(number); // delivered when this handler returns
        return;
    }
    requestedBy.store(number, std::memory_order_relaxed);
    ended.load()->raise();
}

bool isIgnored(int number) {
    struct sigaction now = {};
    return sigaction(number, nullptr, &now) == 0 && now.sa_handler == SIG_IGN;
}

sigset_t setOf(std::initializer_list<int> signals, std::initializer_list<int> more = {}) {
    sigset_t set;
    sigemptyset(&set);
    for (const int number : signals) sigaddset(&set, number);
    for (const int number : more) sigaddset(&set, number);
    return set;
}

/// A null limit waits for ever.
std::optional<Signal> takeSignal(const timespec* limit) {
    const auto set = setOf(endSignals, childSignals);
    siginfo_t signal = {};
    if ((limit ? sigtimedwait(&set, &signal, limit) : sigwaitinfo(&set, &signal)) < 0) return std::nullopt;
    return Signal{signal.si_signo, signal.si_code, signal.si_pid};
}

} // namespace

void installSignalHandlers() {
    if (!ended) ended = new EventFd;
    struct sigaction action = {};
    action.sa_handler = requestEnd;
    action.sa_flags = 0; // no SA_RESTART: a blocked open or read must return
    for (const int number : endSignals)
        if (number != SIGHUP || !isIgnored(number)) sigaction(number, &action, nullptr);
    for (const int number : writeSignals) std::signal(number, SIG_IGN);
}

int endRequested() noexcept {
    return requestedBy.load(std::memory_order_relaxed); // a flag alone, nothing is published with it
}

int endDescriptor() noexcept {
    const auto* event = ended.load();
    return event ? event->descriptor() : -1;
}

void throwIfEndRequested() {
    if (endRequested() != 0) throw Interruption();
}

bool awaitEndRequest(std::chrono::steady_clock::time_point limit, int wake) {
    std::array<pollfd, 2> sources = {{{endDescriptor(), POLLIN, 0}, {wake, POLLIN, 0}}};
    while (endRequested() == 0) {
        const auto left =
            std::chrono::ceil<std::chrono::milliseconds>(limit - std::chrono::steady_clock::now());
        const auto pause = std::clamp(left, 0ms, longestPoll);
        if (poll(sources.data(), sources.size(), static_cast<int>(pause.count())) > 0) return true;
        if (left <= 0ms) return false;
    }
    return true;
}

bool awaitEndRequest(std::chrono::milliseconds atMost) {
    return awaitEndRequest(std::chrono::steady_clock::now() + atMost);
}

SignalShield::SignalShield() {
    const auto set = setOf(endSignals);
    pthread_sigmask(SIG_BLOCK, &set, &before_);
}

SignalShield::~SignalShield() {
    pthread_sigmask(SIG_SETMASK, &before_, nullptr);
}

void blockAwaitedSignals() {
    const auto set = setOf(endSignals, childSignals);
    pthread_sigmask(SIG_BLOCK, &set, &maskAtStart);
}

Signal awaitSignal() {
    for (;;) // again when the process was stopped and continued
        if (const auto signal = takeSignal(nullptr)) return *signal;
}

std::optional<Signal> awaitSignal(timespec atMost) {
    return takeSignal(&atMost);
}

void unblockAwaitedSignals() {
    pthread_sigmask(SIG_SETMASK, &maskAtStart, nullptr);
}

sigset_t signalsToRestore() {
    return setOf(writeSignals);
}

void resetSignals() {
    for (const int number : writeSignals) std::signal(number, SIG_DFL);
    std::signal(SIGTTOU, SIG_DFL); // ignored by `becomeForegroundGroup`
    unblockAwaitedSignals();
}

int exitCodeOf(int status) {
    return WIFEXITED(status) ? WEXITSTATUS(status) : EndedBySignal + WTERMSIG(status);
}

} // namespace orvo::host
