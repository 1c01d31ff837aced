// SPDX-License-Identifier: MIT
// Schedules, and waiting for a point in time.
#include "frames/Pace.h"

#include "base/Numbers.h"
#include "base/Signals.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <string_view>
#include <thread>

namespace orvo::host {
namespace {

using namespace std::chrono_literals;
using std::chrono::nanoseconds;

constexpr auto longestSleep = 50ms;  // a signal is seen after that
constexpr auto wakeUpMargin = 100us; // what the kernel may take to wake a thread; the rest is spent looking

/// Rounded, and no longer than any replay lasts: from what captures say may come anything.
nanoseconds nanosecondsOf(double count) {
    constexpr double century = 100 * 365.25 * 86'400 * 1e9;
    return nanoseconds(std::llround(std::clamp(count, -century, century)));
}

} // namespace

std::optional<Pace> Pace::parse(const std::string& text) {
    if (text == "max") return Pace{};
    if (text == "recorded") return Pace{Kind::Recorded, 1};
    const bool isFactor = text.ends_with('x');
    const auto value = decimalNumber(std::string_view(text).substr(0, text.size() - (isFactor ? 1 : 0)));
    if (!value || *value < (isFactor ? leastFactor : leastFramesPerSecond) ||
        *value > (isFactor ? mostFactor : mostFramesPerSecond))
        return std::nullopt;
    return Pace{isFactor ? Kind::Recorded : Kind::FramesPerSecond, *value};
}

std::string Pace::text() const {
    if (kind == Kind::Max) return "max";
    if (kind == Kind::FramesPerSecond) return fmt::format("{} frames/s", value);
    return value == 1 ? "recorded" : fmt::format("{} times as fast as recorded", value);
}

nanoseconds Schedule::next(nanoseconds recordedAt) {
    const auto number = frames_++;
    if (framesThisTime_++ == 0) firstRecordedAt_ = recordedAt;
    switch (pace_.kind) {
    case Pace::Kind::Max:
        break;
    case Pace::Kind::Recorded:
        last_ = std::max(last_, asRecorded(recordedAt));
        break;
    case Pace::Kind::FramesPerSecond:
        last_ = nanosecondsOf(static_cast<double>(number) * 1e9 / pace_.value);
        break;
    }
    return last_;
}

nanoseconds Schedule::asRecorded(nanoseconds recordedAt) {
    const auto sinceFirst = static_cast<double>((recordedAt - firstRecordedAt_).count());
    return base_ + nanosecondsOf(sinceFirst / pace_.value);
}

void Schedule::beginAgain() {
    const auto gaps = framesThisTime_ > 1 ? static_cast<std::int64_t>(framesThisTime_ - 1) : 1;
    base_ = last_ + (last_ - base_) / gaps;
    framesThisTime_ = 0;
}

std::optional<nanoseconds> waitUntil(Schedule::Clock::time_point due) {
    auto now = Schedule::Clock::now();
    for (; now < due && endRequested() == 0; now = Schedule::Clock::now())
        if (due - now > wakeUpMargin)
            std::this_thread::sleep_for(std::min<nanoseconds>(longestSleep, due - now - wakeUpMargin));
    return now < due ? std::nullopt : std::optional<nanoseconds>(now - due);
}

} // namespace orvo::host
