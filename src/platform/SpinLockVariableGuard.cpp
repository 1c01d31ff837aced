// SPDX-License-Identifier: MIT
#include "platform/SpinLockVariableGuard.h"

#include <sched.h>

#include <atomic>

namespace orvo::templates::platform {

SpinLockVariableGuard::SpinLockVariableGuard(int* lock, pthread_t* owner) noexcept
    : lock_(lock), owner_(owner) {
    const pthread_t self = pthread_self();
    // Relaxed will do for the owner: it can equal self only if this very thread stored it.
    if (owner_ && std::atomic_ref(*owner_).load(std::memory_order_relaxed) == self) return;
    while (std::atomic_ref(*lock_).exchange(1) == 1) sched_yield();
    if (owner_) std::atomic_ref(*owner_).store(self, std::memory_order_relaxed);
    locked_ = true;
}

SpinLockVariableGuard::~SpinLockVariableGuard() {
    if (!locked_) return;
    // The owner first: once the lock word is 0 the next holder writes its own name there.
    if (owner_) std::atomic_ref(*owner_).store(0, std::memory_order_relaxed);
    std::atomic_ref(*lock_).store(0, std::memory_order_release);
}

} // namespace orvo::templates::platform
