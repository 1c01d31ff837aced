// SPDX-License-Identifier: MIT
// A scoped spin lock on a plain variable, for short critical sections of process-wide state.
#pragma once

#include <pthread.h>

namespace orvo::templates::platform {

/// Holds the lock on `*lock` (0 free, 1 held) for a scope. Waits by yielding the processor; waiting threads
/// are served in no particular order.
///
/// Given an owner variable (0 while free), the lock is re-entrant: the thread that holds it passes through,
/// and only the outermost guard releases. Without one, a thread must never nest guards on the same lock. Both
/// variables live elsewhere, as a rule as statics. Never throws.
class SpinLockVariableGuard {
public:
    SpinLockVariableGuard(int* lock, pthread_t* owner) noexcept;
    virtual ~SpinLockVariableGuard();
    SpinLockVariableGuard(const SpinLockVariableGuard&) = delete;
    SpinLockVariableGuard& operator=(const SpinLockVariableGuard&) = delete;

private:
    int* lock_;
    pthread_t* owner_;
    bool locked_ = false;
};

} // namespace orvo::templates::platform
