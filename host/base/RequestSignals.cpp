// SPDX-License-Identifier: MIT
#include "base/RequestSignals.h"

#include "base/Failure.h"

#include <sys/signalfd.h>

#include <cerrno>
#include <csignal>

namespace orvo::host {

RequestSignals::RequestSignals(std::initializer_list<int> numbers) {
    sigset_t set;
    sigemptyset(&set);
    for (const int number : numbers) sigaddset(&set, number);
    pthread_sigmask(SIG_BLOCK, &set, nullptr);
    if (descriptor_.reset(signalfd(-1, &set, SFD_NONBLOCK | SFD_CLOEXEC)); descriptor_.get() < 0)
        throw Failure("cannot wait for signals: " + systemError(errno) +
                      "; close files or end programs first");
}

std::optional<int> RequestSignals::next() const noexcept {
    signalfd_siginfo signal = {};
    if (read(descriptor_.get(), &signal, sizeof signal) != sizeof signal) return std::nullopt;
    return static_cast<int>(signal.ssi_signo);
}

} // namespace orvo::host
