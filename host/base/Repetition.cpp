// SPDX-License-Identifier: MIT
#include "base/Repetition.h"

#include "base/Signals.h"

#include <condition_variable>
#include <mutex>

namespace orvo::host {

Repetition::Repetition(std::chrono::milliseconds interval, std::function<void()> work)
    : interval_(interval), work_(std::move(work)) {
    const SignalShield handledElsewhere; // the thread inherits it
    thread_ = std::jthread([this](const std::stop_token& stop) { run(stop); });
}

void Repetition::run(const std::stop_token& stop) const {
    std::mutex lock;
    std::condition_variable_any stopped;
    std::unique_lock guard(lock);
    while (!stop.stop_requested()) {
        work_();
        stopped.wait_for(guard, stop, interval_, [] { return false; });
    }
}

} // namespace orvo::host
