// SPDX-License-Identifier: MIT
// When each frame of a replay is due.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace orvo::host {

/// How fast a replay sends.
struct Pace {
    enum class Kind { Max, Recorded, FramesPerSecond };

    Kind kind = Kind::Max;
    double value = 1; ///< over 0; of Recorded: how many times faster; of FramesPerSecond: that

    static constexpr double leastFactor = 1e-6, mostFactor = 1e6;
    static constexpr double leastFramesPerSecond = 1e-3, mostFramesPerSecond = 1e7;

    /// From "max", "recorded", "2.5x" (times as fast as recorded) or "1000" (frames per second); nothing when
    /// it is something else, or beyond the limits above.
    static std::optional<Pace> parse(const std::string& text);

    std::string text() const;
};

/// Due times of frames, all counted from the first one: a frame that is late delays none after it, so that
/// nothing adds up. One thread.
class Schedule {
public:
    using Clock = std::chrono::steady_clock;

    explicit Schedule(const Pace& pace) : pace_(pace) {}

    /// When the next frame is due after the first one; never earlier than the frame before. `recordedAt` is
    /// the frame's time in the capture, from whatever origin.
    std::chrono::nanoseconds next(std::chrono::nanoseconds recordedAt);

    /// The capture begins anew; its first frame follows the last one at the capture's mean distance.
    void beginAgain();

private:
    std::chrono::nanoseconds asRecorded(std::chrono::nanoseconds recordedAt);

    const Pace pace_;
    std::uint64_t frames_ = 0;         // since the beginning
    std::uint64_t framesThisTime_ = 0; // since `beginAgain`
    std::chrono::nanoseconds firstRecordedAt_{0};
    std::chrono::nanoseconds base_{0}; // due time of the capture's first frame
    std::chrono::nanoseconds last_{0};
};

/// Waits until `due`, to within some microseconds. Returns how late it is then; nothing when a signal asked
/// for the end before.
std::optional<std::chrono::nanoseconds> waitUntil(Schedule::Clock::time_point due);

} // namespace orvo::host
