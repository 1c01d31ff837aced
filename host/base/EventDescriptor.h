// SPDX-License-Identifier: MIT
// A flag that a thread can wait for together with files and sockets.
#pragma once

namespace orvo::host {

/// Raised once, it stays so. Any thread; `raise` also from a signal handler.
class EventDescriptor {
public:
    /// Errors: Failure when the process has no descriptor left.
    EventDescriptor();
    ~EventDescriptor();
    EventDescriptor(const EventDescriptor&) = delete;
    EventDescriptor& operator=(const EventDescriptor&) = delete;

    /// Readable, as poll sees it, from `raise` on. Nobody reads it.
    int descriptor() const noexcept { return descriptor_; }

    void raise() const noexcept;

private:
    int descriptor_;
};

} // namespace orvo::host
