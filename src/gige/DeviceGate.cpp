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

DeviceGate::DeviceGate() : barrierOnClose_(registerBarrier()) {}

DeviceGate::Pass DeviceGate::enterSend(std::chrono::milliseconds limit) noexcept {
    if (sending_.exchange(1) == 0) return lookAtGate(sending_);
    const auto deadline = Clock::now() + limit;
    do {
        sched_yield();
        if (sending_.load(std::memory_order_relaxed) == 0 && sending_.exchange(1) == 0)
            return lookAtGate(sending_);
    } while (Clock::now() < deadline);
    return Pass(nullptr, false, Answer::Late);
}

DeviceGate::Pass DeviceGate::enterControl() noexcept {
    controlling_.fetch_add(1);
    return lookAtGate(controlling_, true);
}

bool DeviceGate::somebodyInside() const noexcept {
    return receiving_.load() != 0 || leeching_.load() != 0 || sending_.load() != 0 ||
           controlling_.load() != 0;
}

bool DeviceGate::close(std::chrono::milliseconds limit) noexcept {
    closed_.store(true);
    if (barrierOnClose_) barrierOnAllThreads();
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
