// SPDX-License-Identifier: MIT
#pragma once

#include "platform/RecursiveMutex.h"

#include <pthread.h>

#include <cstdint>

namespace orvo::templates::platform {

/// Base class of worker threads. The object owns at most one thread at a time, which runs the subclass's
/// `run`; the owner joins it.
///
/// This class cannot stop a thread: a subclass has a flag of its own that its `run` polls, and the owner sets
/// it before joining. `run` must not throw. A subclass joins in its own destructor, because its `run` no
/// longer exists after that. Threads: `start` and `join` from any thread, but only one may be inside `join`.
///
/// A thread is never detached: after the destructor none of its instructions is left to run, so the library
/// may be unloaded.
class SimpleThread {
public:
    virtual void run() = 0;
    virtual ~SimpleThread();
    SimpleThread(const SimpleThread&) = delete;
    SimpleThread& operator=(const SimpleThread&) = delete;

    /// Starts the thread unless it is running. Does not report a failure: the thread then counts as finished.
    void start();

    /// Waits until `run` has returned; returns at once when the thread is not running.
    void join();

protected:
    SimpleThread() = default;

private:
    static void* ThreadFunction(void* self);
    void finish();
    /// Releases a thread that ended while nobody was joining it; it may be on its last instructions.
    void reclaim();

    pthread_t handle_ = 0; // 0 when none is left to join; this and the next three under mutex_
    bool running_ = false;
    bool finished_ = true;
    std::uint32_t joiners_ = 0;
    RecursiveMutex mutex_;
};

/// Names the calling thread for debuggers and ps, with at most 15 characters. Does nothing where the C
/// library lacks pthread_setname_np.
void nameThisThread(const char* name);

} // namespace orvo::templates::platform
