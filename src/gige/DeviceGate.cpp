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

void barrierOnAllThreads() noexcept {
    syscall(SYS_membarrier, MEMBARRIER_CMD_PRIVATE_EXPEDITED, 0, 0);
}

} // namespace

// Without the barrier there is no sole sender: all take turns from the start.
DeviceGate::DeviceGate()
    : barriers_(registerBarrier()), soleSender_(barriers_ ? nobody : many), soleSenderEnded_(!barriers_) {}

DeviceGate::Pass DeviceGate::enterSendAsOneOfMany(Sender self, std::chrono::milliseconds limit) noexcept {
    if (becomeSoleSender(self)) return enterSend(limit);
    endSoleSender();
    return takeTurn(limit) ? lookAtGate(sending_) : Pass(nullptr, false, Answer::Late);
}

bool DeviceGate::becomeSoleSender(Sender self) noexcept {
    Sender none = nobody;
    return soleSender_.compare_exchange_strong(none, self);
}

/// Afterwards, every thread that may still be inside as the sole sender has its flag up, for all to see.
void DeviceGate::endSoleSender() noexcept {
    if (soleSenderEnded_.load(std::memory_order_acquire)) return;
    soleSender_.store(many);
    barrierOnAllThreads();
    soleSenderEnded_.store(true, std::memory_order_release);
}

bool DeviceGate::takeTurn(std::chrono::milliseconds limit) noexcept {
    Clock::time_point deadline{}; // the clock is not looked at for a turn that is free
    const auto isLate = [&] {
        if (deadline == Clock::time_point{}) deadline = Clock::now() + limit;
        sched_yield();
        return Clock::now() >= deadline;
    };
    while (sending_.exchange(1) != 0) do
            if (isLate()) return false;
        while (sending_.load(std::memory_order_relaxed) != 0);
    while (soleSending_.load(std::memory_order_acquire) != 0)
        if (isLate()) {
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
    if (barriers_) barrierOnAllThreads();
    const auto deadline = Clock::now() + limit;
    while (somebodyInside()) {
        if (Clock::now() >= deadline) {
            open();
            return false;
        }
        usleep(lookPauseUs);
    }
    return true;
}

void DeviceGate::open() noexcept {
    closed_.store(false);
}

void DeviceGate::awaitOpen(std::chrono::milliseconds limit) const {
    for (auto waited = std::chrono::milliseconds{0}; isClosed() && waited < limit; ++waited)
        usleep(lookPauseUs);
}

} // namespace orvo::core::zume
