// SPDX-License-Identifier: MIT
// One program's use of the server's boards: what it holds, and what its requests do.
#pragma once

#include "share/Message.h"

#include <unordered_set>

namespace orvo::sim {

/// Trusts nothing that the program sends. Threads: the one that serves the program.
class Session {
public:
    Session() = default;
    /// Releases what the program still held.
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    /// Carries out a request. False for a message that is none; nothing was done then.
    bool answer(MessageBytes request, MessageWriter& reply);

    /// The handle, or null for one that another program has open.
    void* checked(void* handle) const noexcept;
    void noteOpened(void* handle);
    /// After a call that may have closed the handle.
    void noteUsed(void* handle) noexcept;

private:
    std::unordered_set<void*> handles_; // that the program has open
};

} // namespace orvo::sim
