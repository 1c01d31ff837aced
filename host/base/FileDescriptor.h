// SPDX-License-Identifier: MIT
// Owners of file descriptors.
#pragma once

#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <utility>

namespace orvo::host {

/// Closes its descriptor when it goes; -1, which every system call refuses, when it has none.
class FileDescriptor {
public:
    explicit FileDescriptor(int descriptor = -1) noexcept : descriptor_(descriptor) {}
    ~FileDescriptor() { reset(); }
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;

    int get() const noexcept { return descriptor_; }

    /// Closes what it has and takes another. Returns what `close` returned, with its errno.
    int reset(int descriptor = -1) noexcept {
        const int closed = std::exchange(descriptor_, descriptor);
        return closed < 0 ? 0 : close(closed);
    }

private:
    int descriptor_;
};

/// A socket. Errors: where none can be made, every use fails.
class Socket {
public:
    Socket(int family, int type, int protocol = 0) noexcept
        : descriptor_(socket(family, type | SOCK_CLOEXEC, protocol)) {}

    int descriptor() const noexcept { return descriptor_.get(); }

    /// An ioctl; false leaves the reason in errno.
    bool ask(unsigned long what, void* request) const noexcept {
        return ioctl(descriptor(), what, request) == 0;
    }

private:
    const FileDescriptor descriptor_;
};

/// A flag (an eventfd) that a thread can wait for together with files and sockets. Once raised, it stays so.
/// Any thread; `raise` also from a signal handler.
class EventFd {
public:
    /// Errors: Failure when the process has no descriptor left.
    EventFd();

    /// Readable, as poll sees it, from `raise` on. Nobody reads it.
    int descriptor() const noexcept { return descriptor_.get(); }

    void raise() const noexcept;

private:
    const FileDescriptor descriptor_;
};

} // namespace orvo::host
