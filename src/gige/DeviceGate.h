// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <chrono>

namespace orvo::core::zume {

/// The gate in front of one interface's device. Traffic passes it for the length of its calls into the
/// hardware access layer. `close` shuts it and waits until nobody is inside; then the device can be released.
///
/// Each path raises a flag of its own, then looks at the gate; `close` shuts the gate, then looks at the
/// flags. All four accesses are sequentially consistent, so one of the two sees the other. The senders share
/// a flag: the one that raised it is inside, the others wait for their turn.
class DeviceGate {
public:
    DeviceGate() = default;
    DeviceGate(const DeviceGate&) = delete;
    DeviceGate& operator=(const DeviceGate&) = delete;

    enum class Answer { Inside, Closed, Late };

    /// Stay inside for as long as this lives, if it is true.
    class Pass {
    public:
        Pass(const Pass&) = delete;
        Pass& operator=(const Pass&) = delete;
        ~Pass() {
            // Release: what was done inside happened before the device is released.
            if (flag_ && counts_)
                flag_->fetch_sub(1, std::memory_order_release);
            else if (flag_)
                flag_->store(0, std::memory_order_release);
        }
        explicit operator bool() const noexcept { return answer_ == Answer::Inside; }
        /// Inside, Closed (the device is released), or Late (other senders took too long).
        Answer answer() const noexcept { return answer_; }

    private:
        friend class DeviceGate;
        Pass(std::atomic<int>* flag, bool counts, Answer answer) noexcept
            : flag_(flag), counts_(counts), answer_(answer) {}

        std::atomic<int>* flag_; // the raised one; null when there is none to lower
        bool counts_;            // the flag counts several threads
        Answer answer_;
    };

    /// For the one thread that receives.
    Pass enterReceive() noexcept { return enterAlone(receiving_); }
    /// For the leecher thread.
    Pass enterLeecher() noexcept { return enterAlone(leeching_); }
    /// For any number of threads that send; one at a time is inside. The others wait, yielding the processor,
    /// at most `limit`; the pass is false after that too.
    Pass enterSend(std::chrono::milliseconds limit) noexcept {
        if (sending_.exchange(1) != 0 && !awaitTurn(limit)) return Pass(nullptr, false, Answer::Late);
        return lookAtGate(sending_, false);
    }
    /// For any number of threads that do anything else, all at once.
    Pass enterControl() noexcept {
        controlling_.fetch_add(1);
        return lookAtGate(controlling_, true);
    }

    /// Shuts the gate and waits at most `limit` for those inside to leave. False when somebody is still
    /// inside; the gate is then open again. One thread at a time opens or closes.
    bool close(std::chrono::milliseconds limit) noexcept;
    void open() noexcept { closed_.store(false); }
    bool isClosed() const noexcept { return closed_.load(std::memory_order_acquire); }

    /// Waits at most `limit`, in sleeps of a millisecond, for a closed gate to open.
    void awaitOpen(std::chrono::milliseconds limit) const;

private:
    Pass enterAlone(std::atomic<int>& flag) noexcept {
        flag.exchange(1);
        return lookAtGate(flag, false);
    }
    /// The pass of a thread whose flag is up; it sees the device that `open` published.
    Pass lookAtGate(std::atomic<int>& flag, bool counts) noexcept {
        return Pass(&flag, counts, closed_.load() ? Answer::Closed : Answer::Inside);
    }
    bool awaitTurn(std::chrono::milliseconds limit) noexcept;
    bool somebodyInside() const noexcept;

    std::atomic<bool> closed_{false};
    // Every receive call writes its flag, which must not slow down those that look at the gate.
    alignas(64) std::atomic<int> receiving_{0};
    alignas(64) std::atomic<int> leeching_{0};
    std::atomic<int> controlling_{0}; // how many
    // Overlapping senders write this all the time, which must not slow the receiver down.
    alignas(64) std::atomic<int> sending_{0};
};

} // namespace orvo::core::zume
