// SPDX-License-Identifier: MIT
// Threads of tests: beginning together, and being seen to wait.
#pragma once

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <latch>
#include <thread>
#include <vector>

namespace orvo::test {

/// Runs `work(i)` for i from 0 on `count` threads that begin at the same moment; returns when all have ended.
template <class Work> void runTogether(int count, Work work) {
    std::latch start(count);
    std::vector<std::jthread> threads;
    threads.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i)
        threads.emplace_back([&start, &work, i] {
            start.arrive_and_wait();
            work(i);
        });
}

/// Does `action` again and again on a thread of its own, for as long as the thread is kept.
template <class Action> std::jthread repeating(Action action) {
    return std::jthread([action](const std::stop_token& end) {
        while (!end.stop_requested()) action();
    });
}

/// Runs `work` on a thread of its own.
template <class Work> std::future<void> inBackground(Work work) {
    return std::async(std::launch::async, std::move(work));
}

/// Runs `work` on a thread of its own to its end; ends the process if that never comes.
template <class Work> void finishInBackground(Work work) {
    const auto background = inBackground(std::move(work));
    if (background.wait_for(std::chrono::seconds{30}) == std::future_status::ready) return;
    std::fputs("deadlock: the work in the background does not end\n", stderr);
    std::abort(); // its thread cannot be ended
}

/// Whether what runs in the background has not come to its end after a moment. A slow machine can only make
/// this true where it should be false, never the other way round: expect true of what must wait.
template <class Result> bool isWaiting(const std::future<Result>& background) {
    std::this_thread::sleep_for(std::chrono::milliseconds{20}); // not by a clock that a test may have moved
    return background.wait_for(std::chrono::seconds::zero()) == std::future_status::timeout;
}

} // namespace orvo::test
