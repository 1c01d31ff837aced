// SPDX-License-Identifier: MIT
// The results of the POSIX calls are not examined: with a valid lock they cannot fail.
#include "platform/ReadWriteLock.h"

namespace orvo::templates::platform {

ReadWriteLock::ReadWriteLock() noexcept {
    pthread_rwlockattr_t attributes;
    pthread_rwlockattr_init(&attributes);
    pthread_rwlockattr_setpshared(&attributes, PTHREAD_PROCESS_PRIVATE);
    pthread_rwlock_init(&lock_, &attributes);
    pthread_rwlockattr_destroy(&attributes);
}

ReadWriteLock::~ReadWriteLock() {
    pthread_rwlock_destroy(&lock_);
}

void ReadWriteLock::lockRead() noexcept {
    pthread_rwlock_rdlock(&lock_);
}

void ReadWriteLock::lockWrite() noexcept {
    pthread_rwlock_wrlock(&lock_);
}

void ReadWriteLock::unlock() noexcept {
    pthread_rwlock_unlock(&lock_);
}

ReadWriteLockGuard::ReadWriteLockGuard(ReadWriteLock* lock, Access access) noexcept
    : lock_(lock), locked_(true) {
    if (access == Access::Shared)
        lock_->lockRead();
    else
        lock_->lockWrite();
}

ReadWriteLockGuard::~ReadWriteLockGuard() {
    if (locked_) lock_->unlock();
}

} // namespace orvo::templates::platform
