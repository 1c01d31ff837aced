// SPDX-License-Identifier: MIT
// The gate's barrier and waits.
#include "gige/DeviceGate.h"

#include <linux/membarrier.h>
#include <sched.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace orvo::core::zume {
namespace {

using Clock = std::chrono::steady_clock;

constexpr unsigned lookPauseUs = 1000;

/// Whether the kernel can run a barrier on all of the process's threads at once (Linux 4.14 and later).
bool registerBarrier() noexcept {
    return syscall(SYS_membarrier, MEMBARRIER_CMD_REGISTER_PRIVATE_EXPEDITED, 0, 0) == 0;
}

bool barrierOnAllThreadsNow() noexcept {
    return syscall(SYS_membarrier, MEMBARRIER_CMD_PRIVATE_EXPEDITED, 0, 0) == 0;
}

/// The kernel may lack memory for it for a moment. False when there was none within `limit`: then nobody may
/// go on as if there had been one.
bool barrierOnAllThreads(std::chrono::milliseconds limit) noexcept {
    if (barrierOnAllThreadsNow()) return true;
    for (const auto deadline = Clock::now() + limit; Clock::now() < deadline;) {
        usleep(lookPauseUs);
        if (barrierOnAllThreadsNow()) return true;
    }
    return false;
}

} // namespace

// Without the barrier there is no sole sender: all take turns from the start.
DeviceGate::DeviceGate()
    : barriers_(registerBarrier()), soleSender_(barriers_ ? nobody : many), soleSenderEnded_(!barriers_) {}

DeviceGate::Pass DeviceGate::enterSendAsOneOfMany(Sender self, std::chrono::milliseconds limit) noexcept {
    if (becomeSoleSender(self)) return enterSend(limit);
    return endSoleSender(limit) && takeTurn(limit) ? lookAtGate(sending_)
                                                   : Pass(nullptr, false, Answer::Late);
}

bool DeviceGate::becomeSoleSender(Sender self) noexcept {
    Sender none = nobody;
    return soleSender_.compare_exchange_strong(none, self);
}

/// True: every thread that may still be inside as the sole sender has its flag up, for all to see.
bool DeviceGate::endSoleSender(std::chrono::milliseconds limit) noexcept {
    if (soleSenderEnded_.load(std::memory_order_acquire)) return true;
    soleSender_.store(many);
    if (!barrierOnAllThreads(limit)) return false; // the next sender tries again
    soleSenderEnded_.store(true, std::memory_order_release);
    return true;
}

bool DeviceGate::takeTurn(std::chrono::milliseconds limit) noexcept {
    Clock::time_point deadline{}; // the clock is not looked at for a turn that is free
    const auto isLate = [&] {
        const auto now = Clock::now();
        if (deadline == Clock::time_point{}) deadline = now + limit;
        sched_yield();
        return now >= deadline; // looked at before the yield, so that what became free meanwhile is taken
    };
    while (sending_.load(std::memory_order_relaxed) != 0 || sending_.exchange(1) != 0) {
        if (isLate()) return false;
    }
    while (soleSending_.load(std::memory_order_acquire) != 0) {
        if (!isLate()) continue;
        sending_.store(0, std::memory_order_release);
        return false;
    }
    return true;
}

DeviceGate::Pass DeviceGate::enterControl() noexcept {
    controlling_.fetch_add(1);
    return lookAtGate(controlling_, true);
}

bool DeviceGate::somebodyInside() const noexcept {
    return receiving_.load() != 0 || leeching_.load() != 0 || soleSending_.load() != 0 ||
           sending_.load() != 0 || controlling_.load() != 0;
}

bool DeviceGate::close(std::chrono::milliseconds limit) noexcept {
    closed_.store(true);
    const auto deadline = Clock::now() + limit;
    bool mayWait = !barriers_ || barrierOnAllThreads(limit);
    while (mayWait && somebodyInside()) {
        mayWait = Clock::now() < deadline;
        if (mayWait) usleep(lookPauseUs);
    }
    if (!mayWait) open();
    return mayWait;
}

void DeviceGate::open() noexcept {
    closed_.store(false);
}

void DeviceGate::awaitOpen(std::chrono::milliseconds limit) const {
    for (auto waited = std::chrono::milliseconds{0}; isClosed() && waited < limit; ++waited)
        usleep(lookPauseUs);
}

} // namespace orvo::core::zume
