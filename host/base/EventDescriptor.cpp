// SPDX-License-Identifier: MIT
// The flag is an eventfd.
#include "base/EventDescriptor.h"

#include "base/Failure.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>

namespace orvo::host {

EventDescriptor::EventDescriptor() : descriptor_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (descriptor_ < 0)
        throw Failure("cannot make an event descriptor: " + systemError(errno) +
                      "; let the process have more open files");
}

EventDescriptor::~EventDescriptor() {
    close(descriptor_);
}

void EventDescriptor::raise() const noexcept {
    const int reason = errno;      // a handler must leave it alone
    eventfd_write(descriptor_, 1); // it fails only when it is raised already, and full
    errno = reason;
}

} // namespace orvo::host
