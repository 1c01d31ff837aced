// SPDX-License-Identifier: MIT
// A lock for many readers or one writer, and its scoped guard.
#pragma once

#include "platform/Guard.h"

#include <pthread.h>

namespace orvo::templates::platform {

/// The POSIX read-write lock, private to the process.
class ReadWriteLock {
public:
    ReadWriteLock() noexcept;
    virtual ~ReadWriteLock();
    ReadWriteLock(const ReadWriteLock&) = delete;
    ReadWriteLock& operator=(const ReadWriteLock&) = delete;

    void lockRead() noexcept;
    void lockWrite() noexcept;
    void unlock() noexcept;

private:
    pthread_rwlock_t lock_;
};

/// Holds a ReadWriteLock, shared or exclusive, for a scope.
class ReadWriteLockGuard : public patterns::Guard<ReadWriteLock*> {
public:
    enum class Access { Shared, Exclusive };

    ReadWriteLockGuard(ReadWriteLock* lock, Access access) noexcept;
    ~ReadWriteLockGuard() override;

private:
    ReadWriteLock* lock_;
    bool locked_;
};

} // namespace orvo::templates::platform
