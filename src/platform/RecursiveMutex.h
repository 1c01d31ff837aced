// SPDX-License-Identifier: MIT
// A mutex that its holder may lock again, and its scoped guard.
#pragma once

#include "platform/Guard.h"

#include <pthread.h>

namespace orvo::templates::platform {

/// Each `lock` of a thread needs its own `unlock` by the same thread.
class RecursiveMutex {
public:
    RecursiveMutex() noexcept;
    virtual ~RecursiveMutex();
    RecursiveMutex(const RecursiveMutex&) = delete;
    RecursiveMutex& operator=(const RecursiveMutex&) = delete;

    void lock() noexcept;
    void unlock() noexcept;

private:
    pthread_mutex_t mutex_;
    pthread_mutexattr_t attributes_;
};

/// Holds a RecursiveMutex for a scope, with an interval in between where `unlock` and `relock` make one.
class RecursiveMutexGuard : public patterns::Guard<RecursiveMutex*> {
public:
    explicit RecursiveMutexGuard(RecursiveMutex* mutex) noexcept;
    ~RecursiveMutexGuard() override;

    void unlock() noexcept;
    void relock() noexcept;

private:
    RecursiveMutex* mutex_;
    bool locked_;
};

} // namespace orvo::templates::platform
