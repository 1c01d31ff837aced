// SPDX-License-Identifier: MIT
#include "platform/SimpleThread.h"

#include <dlfcn.h>

#include <utility>

namespace orvo::templates::platform {

SimpleThread::~SimpleThread() {
    join();
    reclaim();
}

void SimpleThread::start() {
    RecursiveMutexGuard guard(&mutex_);
    if (running_) return;
    reclaim();
    running_ = true;
    finished_ = false;
    if (pthread_create(&handle_, nullptr, ThreadFunction, this) != 0) {
        handle_ = 0;
        running_ = false;
        finished_ = true;
    }
}

void SimpleThread::join() {
    RecursiveMutexGuard guard(&mutex_);
    if (!running_ || finished_ || handle_ == 0) return;
    ++joiners_;
    const pthread_t handle = std::exchange(handle_, 0); // the next thread's may come while this one is joined
    guard.unlock();                                     // the finishing thread needs the mutex
    pthread_join(handle, nullptr);
    guard.relock();
    --joiners_;
}

void* SimpleThread::ThreadFunction(void* self) {
    static_cast<SimpleThread*>(self)->run();
    static_cast<SimpleThread*>(self)->finish();
    return nullptr;
}

void SimpleThread::finish() {
    RecursiveMutexGuard guard(&mutex_);
    running_ = false;
    finished_ = true;
}

void SimpleThread::reclaim() {
    RecursiveMutexGuard guard(&mutex_);
    if (handle_ == 0) return;
    pthread_join(handle_, nullptr); // past its last use of the mutex
    handle_ = 0;
}

void nameThisThread(const char* name) {
    using SetName = int (*)(pthread_t, const char*);
    const auto setName = reinterpret_cast<SetName>(dlsym(RTLD_NEXT, "pthread_setname_np"));
    if (setName) setName(pthread_self(), name);
}

} // namespace orvo::templates::platform
