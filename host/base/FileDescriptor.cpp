// SPDX-License-Identifier: MIT
#include "base/FileDescriptor.h"

#include "base/Failure.h"

#include <sys/eventfd.h>

#include <cerrno>

namespace orvo::host {

EventFd::EventFd() : descriptor_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (descriptor_.get() < 0)
        throw Failure("cannot make an eventfd: " + systemError(errno) +
                      "; raise the limit on open files (ulimit -n)");
}

void EventFd::raise() const noexcept {
    const int reason = errno;            // a signal handler must not change it
    eventfd_write(descriptor_.get(), 1); // fails only when it is raised already, and full
    errno = reason;
}

} // namespace orvo::host
