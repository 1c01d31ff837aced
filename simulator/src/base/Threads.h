// SPDX-License-Identifier: MIT
// Threads of the library's own inside a program.
#pragma once

#include <csignal>
#include <thread>
#include <utility>

namespace orvo::sim {

/// Starts a thread that takes no signals: those are for the program's own threads. Throws std::system_error.
template <class Run> std::thread startThread(Run run) {
    struct NoSignals {
        NoSignals() noexcept {
            sigset_t all;
            sigfillset(&all);
            pthread_sigmask(SIG_SETMASK, &all, &before); // which the new thread inherits
        }
        ~NoSignals() { pthread_sigmask(SIG_SETMASK, &before, nullptr); }
        sigset_t before;
    };
    const NoSignals guard;
    return std::thread(std::move(run));
}

} // namespace orvo::sim
