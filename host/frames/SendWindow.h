// SPDX-License-Identifier: MIT
// How many frames may be in flight between the sending and the receiving port.
#pragma once

#include <chrono>
#include <cstdint>

namespace orvo::host {

/// What came back so far, as counted by the receiving thread; all three only grow.
struct Returned {
    std::uint64_t frames = 0;
    std::uint64_t words = 0;      ///< of the receive queue that these frames took
    std::uint64_t quietPolls = 0; ///< times that the port was asked and had no frame
};

/// Keeps the sender from overrunning the receiving port's queue, which drops frames when it is full.
///
/// While frames come back, at most `Limits` are in flight. When frames are due and none comes for a while,
/// those in flight are given up as lost, and the window stays open until a frame comes back: a wire that
/// returns nothing, or breaks, costs one pause in all. The pause counts the receiver's quiet polls, so a
/// receiver that is busy, for example with a slow disk, is waited for.
///
/// Every frame received counts as one that came back, also a foreign one, which opens the window a little
/// further. Used by the sending thread alone; reads no clock.
class SendWindow {
public:
    using Clock = std::chrono::steady_clock;

    struct Limits {
        std::uint64_t frames = 1024;
        std::uint64_t words = 131'072; ///< half of a default receive queue; the rest is for foreign frames
        std::uint64_t quietPolls = 4;  ///< of about 100 ms each; a stall takes these and `pause`
        std::chrono::milliseconds pause{500};
    };

    SendWindow() : SendWindow(Limits()) {}
    explicit SendWindow(const Limits& limits) : limits_(limits) {}

    /// A frame of so many queue words was sent.
    void sent(std::uint64_t words) noexcept;

    /// Takes what came back until `now` out of the window. Returns whether frames in flight were given up.
    bool observe(const Returned& returned, Clock::time_point now) noexcept;

    /// Whether a frame of so many words may be sent now.
    bool hasRoom(std::uint64_t words) const noexcept;

    /// Whether enough came back to go on sending. Sending in bursts saves wake-ups of the two threads.
    bool isHalfEmpty() const noexcept;

    bool holds() const noexcept { return holds_; }
    std::uint64_t framesInFlight() const noexcept { return frames_; }

    /// When `observe` last saw that a frame had come back.
    Clock::time_point lastReturn() const noexcept { return lastReturn_; }

private:
    void takeBack(const Returned& returned) noexcept;
    bool isStalled(const Returned& returned, Clock::time_point now) noexcept;

    const Limits limits_;
    bool holds_ = true;
    std::uint64_t frames_ = 0; // in flight
    std::uint64_t words_ = 0;
    Returned seen_;                    // at the last observation
    bool waiting_ = false;             // for the frames in flight
    Clock::time_point waitBegin_{};    // then
    std::uint64_t waitQuietPolls_ = 0; // then
    Clock::time_point lastReturn_{};
};

} // namespace orvo::host
