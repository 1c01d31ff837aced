// Schedules, and waiting for a point in time.
#include "traffic/Pace.h"

#include "app/Signals.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <thread>

namespace orvo::host {
namespace {

using namespace std::chrono_literals;
using std::chrono::nanoseconds;

constexpr auto longestSleep = 50ms;  // a signal is seen after that
constexpr auto wakeUpMargin = 100us; // what the kernel may take to wake a thread; the rest is spent looking

std::optional<double> positiveNumber(const std::string& text) {
    std::size_t end = 0;
    try {
        const double value = std::stod(text, &end);
        if (end == text.size() && std::isfinite(value) && value > 0) return value;
    } catch (const std::logic_error&) { // no number, or none that a double holds
    }
    return std::nullopt;
}

} // namespace

std::optional<Pace> Pace::parse(const std::string& text) {
    if (text == "max") return Pace{};
    if (text == "recorded") return Pace{Kind::Recorded, 1};
    const bool isFactor = text.ends_with('x');
    const auto value = positiveNumber(isFactor ? text.substr(0, text.size() - 1) : text);
    if (!value) return std::nullopt;
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
        last_ = nanoseconds(std::llround(static_cast<double>(number) * 1e9 / pace_.value));
        break;
    }
    return last_;
}

nanoseconds Schedule::asRecorded(nanoseconds recordedAt) {
    const auto sinceFirst = static_cast<double>((recordedAt - firstRecordedAt_).count());
    return base_ + nanoseconds(std::llround(sinceFirst / pace_.value));
}

void Schedule::beginAgain() {
    const auto gaps = framesThisTime_ > 1 ? static_cast<std::int64_t>(framesThisTime_ - 1) : 1;
    base_ = last_ + (last_ - base_) / gaps;
    framesThisTime_ = 0;
}

nanoseconds waitUntil(Schedule::Clock::time_point due) {
    auto now = Schedule::Clock::now();
    for (; due - now > wakeUpMargin && endRequested() == 0; now = Schedule::Clock::now())
        std::this_thread::sleep_for(std::min<nanoseconds>(longestSleep, due - now - wakeUpMargin));
    while (now < due && endRequested() == 0) now = Schedule::Clock::now();
    return std::max<nanoseconds>(now - due, 0ns);
}

} // namespace orvo::host
