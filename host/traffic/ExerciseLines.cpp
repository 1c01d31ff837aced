// SPDX-License-Identifier: MIT
#include "traffic/ExerciseLines.h"

#include "device/recording/Playback.h"

#include <fmt/format.h>

#include <cstdio>

namespace orvo::host {
namespace {

constexpr std::uint64_t shortSleepUs = 10'000;

/// Flushed, so that a run that crashes has shown it.
void put(const std::string& text) {
    std::fputs((text + "\n").c_str(), stdout);
    std::fflush(stdout);
}

} // namespace

void ExerciseLines::add(const std::string& text) {
    const std::lock_guard guard(mutex_);
    putSleeps();
    put(text);
}

void ExerciseLines::addSleep(std::uint64_t microseconds) {
    if (!isAlone_ && microseconds < shortSleepUs) return;
    const std::pair sleep{microseconds, Playback::callsOfThisThread()};
    const std::lock_guard guard(mutex_);
    if (sleep != sleep_) putSleeps();
    sleep_ = sleep;
    ++sleeps_;
}

void ExerciseLines::putSleeps() {
    if (sleeps_ == 0) return;
    put(fmt::format("  sleeps {} times {} us after call {}", std::exchange(sleeps_, 0), sleep_.first,
                    sleep_.second));
}

} // namespace orvo::host
