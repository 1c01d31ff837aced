// SPDX-License-Identifier: MIT
// A bounded first-in first-out queue between threads that can be interrupted for good.
#pragma once

#include <orvo/Export.h>

#include <pthread.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <ctime>
#include <exception>
#include <list>
#include <utility>

namespace orvo::templates::platform {

/// Thrown by an operation on a queue that has been interrupted.
class ORVO_EXPORT SynchronizedQueueInterruptException : public std::exception {};

/// Hands copies of T from any number of producers to any number of consumers.
///
/// Once interrupted, a queue accepts no more elements and every waiting producer fails at once; consumers
/// still get the elements queued before, and then fail as well. An interruption cannot be undone. No thread
/// may be in an operation when the queue is destroyed; its elements are released then.
template <class T> class ORVO_EXPORT SynchronizedQueue {
public:
    /// `capacity` is at least 1.
    explicit SynchronizedQueue(std::uint64_t capacity) : capacity_(capacity) {
        pthread_mutex_init(&mutex_, nullptr);
        pthread_condattr_t monotonic; // so that setting the wall clock does not change the wait of tryPop
        pthread_condattr_init(&monotonic);
        pthread_condattr_setclock(&monotonic, CLOCK_MONOTONIC);
        pthread_cond_init(&notEmpty_, &monotonic);
        pthread_cond_init(&notFull_, &monotonic);
        pthread_condattr_destroy(&monotonic);
    }
    virtual ~SynchronizedQueue() {
        pthread_cond_destroy(&notFull_);
        pthread_cond_destroy(&notEmpty_);
        pthread_mutex_destroy(&mutex_);
    }
    SynchronizedQueue(const SynchronizedQueue&) = delete;
    SynchronizedQueue& operator=(const SynchronizedQueue&) = delete;

    /// Appends a copy of `item`; waits while the queue is full.
    /// Errors: SynchronizedQueueInterruptException when the queue is or becomes interrupted; exceptions of
    /// copying T and std::bad_alloc pass through. The queue is then unchanged.
    void push(const T& item) {
        Lock lock(&mutex_);
        while (items_.size() == capacity_ && !interrupted_) pthread_cond_wait(&notFull_, &mutex_);
        if (interrupted_) throw SynchronizedQueueInterruptException();
        items_.push_back(item);
        pthread_cond_signal(&notEmpty_);
    }

    /// Takes the oldest element; waits while the queue is empty.
    /// Errors: SynchronizedQueueInterruptException when the queue is empty and interrupted.
    T pop() {
        Lock lock(&mutex_);
        while (items_.empty() && !interrupted_) pthread_cond_wait(&notEmpty_, &mutex_);
        return takeFront();
    }

    /// Takes the oldest element into `item`. Waits at most `limit`; false when the queue is still empty then.
    /// Errors: as `pop`.
    bool tryPop(T& item, std::chrono::milliseconds limit) {
        const timespec deadline = monotonicTimeAfter(limit);
        Lock lock(&mutex_);
        while (items_.empty() && !interrupted_)
            if (pthread_cond_timedwait(&notEmpty_, &mutex_, &deadline) == ETIMEDOUT) break;
        if (items_.empty() && !interrupted_) return false;
        item = takeFront();
        return true;
    }

    /// Ends every wait in the queue and refuses all further elements.
    void interrupt() noexcept {
        Lock lock(&mutex_);
        interrupted_ = true;
        pthread_cond_broadcast(&notEmpty_);
        pthread_cond_broadcast(&notFull_);
    }

private:
    class Lock {
    public:
        explicit Lock(pthread_mutex_t* mutex) : mutex_(mutex) { pthread_mutex_lock(mutex_); }
        ~Lock() { pthread_mutex_unlock(mutex_); }
        Lock(const Lock&) = delete;
        Lock& operator=(const Lock&) = delete;

    private:
        pthread_mutex_t* mutex_;
    };

    T takeFront() {
        if (items_.empty()) throw SynchronizedQueueInterruptException();
        T front = std::move(items_.front());
        items_.pop_front();
        pthread_cond_signal(&notFull_);
        return front;
    }

    static timespec monotonicTimeAfter(std::chrono::milliseconds limit) {
        using namespace std::chrono;
        constexpr milliseconds longest = hours(24 * 365 * 100); // longer ones overflow the nanoseconds
        const nanoseconds waited = std::clamp(limit, milliseconds::zero(), longest);
        timespec now{};
        clock_gettime(CLOCK_MONOTONIC, &now);
        const auto deadline = seconds(now.tv_sec) + nanoseconds(now.tv_nsec) + waited;
        const auto wholeSeconds = duration_cast<seconds>(deadline);
        return {static_cast<std::time_t>(wholeSeconds.count()),
                static_cast<long>((deadline - wholeSeconds).count())};
    }

    const std::uint64_t capacity_;
    std::list<T> items_; // front = oldest; this and `interrupted_` under `mutex_`
    pthread_mutex_t mutex_;
    pthread_cond_t notEmpty_;
    pthread_cond_t notFull_;
    bool interrupted_ = false;
};

} // namespace orvo::templates::platform
