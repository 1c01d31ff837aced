// SPDX-License-Identifier: MIT
// The results of the POSIX calls are not examined: with a valid mutex they cannot fail.
#include "platform/RecursiveMutex.h"

namespace orvo::templates::platform {

RecursiveMutex::RecursiveMutex() noexcept {
    pthread_mutexattr_init(&attributes_);
    pthread_mutexattr_settype(&attributes_, PTHREAD_MUTEX_RECURSIVE);
    pthread_mutex_init(&mutex_, &attributes_);
}

RecursiveMutex::~RecursiveMutex() {
    pthread_mutex_destroy(&mutex_);
    pthread_mutexattr_destroy(&attributes_);
}

void RecursiveMutex::lock() noexcept {
    pthread_mutex_lock(&mutex_);
}

void RecursiveMutex::unlock() noexcept {
    pthread_mutex_unlock(&mutex_);
}

RecursiveMutexGuard::RecursiveMutexGuard(RecursiveMutex* mutex) noexcept : mutex_(mutex), locked_(true) {
    mutex_->lock();
}

RecursiveMutexGuard::~RecursiveMutexGuard() {
    if (locked_) mutex_->unlock();
}

void RecursiveMutexGuard::unlock() noexcept {
    locked_ = false;
    mutex_->unlock();
}

void RecursiveMutexGuard::relock() noexcept {
    mutex_->lock();
    locked_ = true;
}

} // namespace orvo::templates::platform
