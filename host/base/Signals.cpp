// SPDX-License-Identifier: MIT
// The flag behind the signals that ask for the end.
#include "base/Signals.h"

#include "base/EventDescriptor.h"
#include "base/Failure.h"

#include <atomic>

namespace orvo::host {
namespace {

constexpr int endSignals[] = {SIGINT, SIGTERM, SIGHUP};
constexpr int writeSignals[] = {SIGPIPE, SIGXFSZ}; // no reader left; file size limit reached

std::atomic<int> requestedBy{0};
std::atomic<EventDescriptor*> ended{nullptr}; // made once, and kept: a handler may run until the last moment
static_assert(std::atomic<int>::is_always_lock_free && std::atomic<EventDescriptor*>::is_always_lock_free,
              "a signal handler may use them");

void requestEnd(int number) {
    requestedBy.store(number, std::memory_order_relaxed);
    ended.load()->raise();
}

/// As nohup has it, so that a program outlives its terminal.
bool isIgnored(int number) {
    struct sigaction now = {};
    return sigaction(number, nullptr, &now) == 0 && now.sa_handler == SIG_IGN;
}

} // namespace

void installSignalHandlers() {
    if (!ended) ended = new EventDescriptor;
    struct sigaction action = {};
    action.sa_handler = requestEnd;
    action.sa_flags = static_cast<int>(SA_RESETHAND); // no SA_RESTART: a blocked open or read is to end
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

SignalShield::SignalShield() {
    sigset_t set;
    sigemptyset(&set);
    for (const int number : endSignals) sigaddset(&set, number);
    pthread_sigmask(SIG_BLOCK, &set, &before_);
}

SignalShield::~SignalShield() {
    pthread_sigmask(SIG_SETMASK, &before_, nullptr);
}

} // namespace orvo::host
