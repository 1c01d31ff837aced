// SPDX-License-Identifier: MIT
// Waiting for the reader of a pipe. A plain open would wait as well, but not see a signal of the moment
// before.
#include "base/OutputFile.h"

#include "base/Signals.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>

#include <cerrno>

namespace orvo::host {
namespace {

constexpr int lookAgainMs = 20;

bool isPipe(const std::string& path) {
    struct stat status = {};
    return stat(path.c_str(), &status) == 0 && S_ISFIFO(status.st_mode);
}

} // namespace

int openToWrite(const std::string& path) {
    for (;;) {
        const int descriptor = open(path.c_str(), O_WRONLY | O_CLOEXEC | O_NONBLOCK);
        if (descriptor >= 0) {
            fcntl(descriptor, F_SETFL, fcntl(descriptor, F_GETFL) & ~O_NONBLOCK);
            return descriptor;
        }
        const int reason = errno;
        if (reason != ENXIO || !isPipe(path)) {
            errno = reason;
            return -1;
        }
        pollfd end{endDescriptor(), POLLIN, 0};
        poll(&end, 1, lookAgainMs);
        throwIfEndRequested();
    }
}

} // namespace orvo::host
