// SPDX-License-Identifier: MIT
// Keeps everybody out of the hardware access layer while the device is released.
#pragma once

#include <atomic>
#include <chrono>

#include <pthread.h>

namespace orvo::core::zume {

/// The gate in front of one interface's device. Traffic passes it for the length of its calls into the
/// hardware access layer; `close` shuts it and waits until nobody is inside; then the device can be released.
///
/// Each traffic path has a flag of its own that it raises on the way in and lowers on the way out. Between
/// raising it and looking at the gate the processor must not swap the two accesses. The receive path and the
/// leecher leave that to `close`, which makes every thread of the process pass a barrier (membarrier), so
/// that a pass costs them two plain stores and a load.
///
/// Senders take turns, but as a rule there is only one, and it should not pay for the others. The first
/// thread that sends therefore becomes the sole sender, with a flag of its own that it raises in the same
/// way. The first other one that comes ends this for good, with a barrier again, and from then on all take
/// turns on one flag with an atomic exchange.
class DeviceGate {
public:
    DeviceGate();
    DeviceGate(const DeviceGate&) = delete;
    DeviceGate& operator=(const DeviceGate&) = delete;

    enum class Answer { Inside, Closed, Late };

    /// Stay inside for as long as this lives, if it is true.
    class Pass {
    public:
        Pass(const Pass&) = delete;
        Pass& operator=(const Pass&) = delete;
        ~Pass() {
            // Release: what was done inside happened before the device goes.
            if (flag_ && shared_)
                flag_->fetch_sub(1, std::memory_order_release);
            else if (flag_)
                flag_->store(0, std::memory_order_release);
        }
        explicit operator bool() const noexcept { return answer_ == Answer::Inside; }
        /// Inside, Closed (the device is released), or Late (other senders took too long).
        Answer answer() const noexcept { return answer_; }

    private:
        friend class DeviceGate;
        Pass(std::atomic<int>* flag, bool shared, Answer answer) noexcept
            : flag_(flag), shared_(shared), answer_(answer) {}

        std::atomic<int>* flag_; // the raised one; null when there is nothing to lower
        bool shared_;            // the flag counts several threads
        Answer answer_;
    };

    /// For the one thread that receives.
    Pass enterReceive() noexcept { return enterAlone(receiving_); }
    /// For the leecher thread.
    Pass enterLeecher() noexcept { return enterAlone(leeching_); }
    /// For any number of threads that send; one at a time is inside. The others wait, yielding the processor,
    /// at most `limit`; false then too.
    Pass enterSend(std::chrono::milliseconds limit) noexcept {
        const Sender self = thisThread();
        if (soleSender_.load(std::memory_order_relaxed) == self) {
            raise(soleSending_);
            if (soleSender_.load(std::memory_order_relaxed) == self) return lookAtGate(soleSending_);
            soleSending_.store(0, std::memory_order_release);
        }
        return enterSendAsOneOfMany(self, limit);
    }
    /// For any number of threads that do anything else, all at once.
    Pass enterControl() noexcept;

    /// Shuts the gate and waits at most `limit` for those inside to leave. False when somebody is still
    /// inside; the gate is then open again. One thread at a time opens or closes.
    bool close(std::chrono::milliseconds limit) noexcept;
    void open() noexcept;
    bool isClosed() const noexcept { return closed_.load(std::memory_order_acquire); }

    /// Waits at most `limit`, in sleeps of a millisecond, for a closed gate to open.
    void awaitOpen(std::chrono::milliseconds limit) const;

private:
    using Sender = pthread_t; // of threads that live: two values stand for something else
    static constexpr Sender nobody = 0;
    static constexpr Sender many = 1;

    static Sender thisThread() noexcept { return pthread_self(); }

    Pass enterAlone(std::atomic<int>& flag) noexcept {
        if (barriers_)
            raise(flag);
        else
            flag.exchange(1);
        return lookAtGate(flag);
    }
    /// The flag of one thread, whose next load another thread's barrier keeps behind this store.
    static void raise(std::atomic<int>& flag) noexcept {
        flag.store(1, std::memory_order_relaxed);
        std::atomic_signal_fence(std::memory_order_seq_cst); // holds the compiler; the barrier the processor
    }
    Pass enterSendAsOneOfMany(Sender self, std::chrono::milliseconds limit) noexcept;
    bool becomeSoleSender(Sender self) noexcept;
    bool endSoleSender(std::chrono::milliseconds limit) noexcept;
    bool takeTurn(std::chrono::milliseconds limit) noexcept;
    /// The pass of a thread whose flag is up; the load is an acquire, so it sees the device that `open`
    /// published.
    Pass lookAtGate(std::atomic<int>& flag, bool shared = false) noexcept {
        return Pass(&flag, shared, closed_.load() ? Answer::Closed : Answer::Inside);
    }
    bool somebodyInside() const noexcept;

    const bool barriers_; // whether the kernel has the barrier on all threads
    std::atomic<bool> closed_{false};
    // Every receive call writes its flag, which must not slow down those that look at the gate.
    alignas(64) std::atomic<int> receiving_{0};
    alignas(64) std::atomic<int> leeching_{0};
    std::atomic<int> controlling_{0}; // how many
    // Senders pound on these when they overlap, which must not slow the receiver down.
    alignas(64) std::atomic<Sender> soleSender_; // changes from nobody to a thread to many
    std::atomic<int> soleSending_{0};
    std::atomic<int> sending_{0};
    std::atomic<bool> soleSenderEnded_{false}; // and has passed a barrier
};

} // namespace orvo::core::zume
