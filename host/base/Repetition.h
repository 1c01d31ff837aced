// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <functional>
#include <thread>

namespace orvo::host {

/// Calls `work` again and again while it lives, at once and then after each interval, on a thread of its own.
class Repetition {
public:
    Repetition(std::chrono::milliseconds interval, std::function<void()> work);

private:
    void run(const std::stop_token& stop) const;

    const std::chrono::milliseconds interval_;
    const std::function<void()> work_;
    std::jthread thread_; // last: it uses the others
};

} // namespace orvo::host
