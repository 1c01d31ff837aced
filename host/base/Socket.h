// SPDX-License-Identifier: MIT
// A socket that goes with its scope.
#pragma once

#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace orvo::host {

/// Nothing but a descriptor; -1, which every use refuses, when there can be none.
class Socket {
public:
    Socket(int family, int type, int protocol = 0) noexcept
        : descriptor_(socket(family, type | SOCK_CLOEXEC, protocol)) {}
    ~Socket() { close(descriptor_); }
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;

    int descriptor() const noexcept { return descriptor_; }

    /// An ioctl; false leaves the reason in errno.
    bool ask(unsigned long what, void* request) const noexcept {
        return ioctl(descriptor_, what, request) == 0;
    }

private:
    const int descriptor_;
};

} // namespace orvo::host
