// SPDX-License-Identifier: MIT
// Signals by which a user asks a running program for something.
#pragma once

#include "base/FileDescriptor.h"

#include <initializer_list>
#include <optional>

namespace orvo::host {

/// Takes such signals one by one, without interrupting anything. Make it before other threads start: these
/// signals stay blocked in this thread and in threads that it starts, also after this is gone, as a late one
/// would end the process.
class RequestSignals {
public:
    /// Errors: Failure when the process has no descriptor left.
    explicit RequestSignals(std::initializer_list<int> numbers);

    /// Readable, as poll sees it, while there is one.
    int descriptor() const noexcept { return descriptor_.get(); }

    /// The next one's number; nothing when there is none. Does not wait.
    std::optional<int> next() const noexcept;

private:
    FileDescriptor descriptor_;
};

} // namespace orvo::host
