// SPDX-License-Identifier: MIT
// A mutex that its holder may lock again, and its scoped guard.
#pragma once

#include "platform/Guard.h"

#include <pthread.h>

namespace orvo::templates::platform {

/// The thread that holds it may lock it again; each `lock` needs its own `unlock` by the same thread.
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

/// Holds a RecursiveMutex for a scope. Between `unlock` and `relock` the mutex is free.
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
