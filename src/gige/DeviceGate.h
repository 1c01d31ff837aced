// Keeps everybody out of the hardware access layer while the device is released.
#pragma once

#include <atomic>
#include <chrono>

namespace orvo::core::zume {

/// The gate in front of one interface's device. Traffic passes it for the length of its calls into the
/// hardware access layer; `close` shuts it and waits until nobody is inside; then the device can be released.
///
/// Each traffic path has a flag of its own that it raises on the way in and lowers on the way out. Between
/// raising it and looking at the gate the processor must not swap the two accesses. The receive path and the
/// leecher leave that to `close`, which makes every thread of the process pass a barrier (membarrier), so
/// that a pass costs them two plain stores and a load; the send path has the barrier from taking its flag
/// exclusively.
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
    Pass enterSend(std::chrono::milliseconds limit) noexcept;
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
    Pass enterAlone(std::atomic<int>& flag) noexcept {
        if (barrierOnClose_) {
            flag.store(1, std::memory_order_relaxed);
            std::atomic_signal_fence(
                std::memory_order_seq_cst); // holds the compiler; close() holds the processor
        } else {
            flag.exchange(1);
        }
        return lookAtGate(flag);
    }
    /// The pass of a thread whose flag is up; the load is an acquire, so it sees the device that `open`
    /// published.
    Pass lookAtGate(std::atomic<int>& flag, bool shared = false) noexcept {
        return Pass(&flag, shared, closed_.load() ? Answer::Closed : Answer::Inside);
    }
    bool somebodyInside() const noexcept;

    const bool barrierOnClose_; // whether close() provides the barrier for paths of one thread
    std::atomic<bool> closed_{false};
    std::atomic<int> receiving_{0};
    std::atomic<int> leeching_{0};
    std::atomic<int> controlling_{0}; // how many
    // Senders pound on it when they overlap, which must not slow the receiver down.
    alignas(64) std::atomic<int> sending_{0};
};

} // namespace orvo::core::zume
