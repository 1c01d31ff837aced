// SPDX-License-Identifier: MIT
// How much may be under way between sending and receiving port.
#pragma once

#include <chrono>
#include <cstdint>

namespace orvo::host {

/// What came back so far, as the receiving thread counts it; all three only grow.
struct Returned {
    std::uint64_t frames = 0;
    std::uint64_t words = 0;      ///< that these frames took in the receive queue
    std::uint64_t quietPolls = 0; ///< times that it asked the port for a frame and there was none
};

/// Keeps the sender from overrunning the receiving port's queue, which is bounded and loses what it has no
/// room for.
///
/// While frames come back, at most `Limits` are under way. When some are due and none comes for a while,
/// those under way are given up as lost, and from then on the window holds nobody back until a frame comes
/// again: a wire from which nothing ever returns costs one such pause in all, and so does one that breaks. A
/// receiver that does not get round to asking (because the disk is slow, say) is waited for: only its own
/// quiet polls make a pause.
///
/// A frame that comes back counts for one that is under way whichever it is; foreign frames thus open the
/// window a little further, but never beyond nothing under way. Used by the sending thread alone; asks no
/// clock of its own.
class SendWindow {
public:
    using Clock = std::chrono::steady_clock;

    struct Limits {
        std::uint64_t frames = 1024;
        std::uint64_t words = 131'072; ///< half of a default receive queue; the rest is for strangers' frames
        std::uint64_t quietPolls = 4;  ///< of about 100 ms each; with `pause`, all that makes a stall
        std::chrono::milliseconds pause{500};
    };

    SendWindow() : SendWindow(Limits()) {}
    explicit SendWindow(const Limits& limits) : limits_(limits) {}

    /// A frame of so many queue words was handed over.
    void sent(std::uint64_t words) noexcept;

    /// Takes note of what came back until `now`. Returns whether frames under way were given up.
    bool observe(const Returned& returned, Clock::time_point now) noexcept;

    /// Whether a frame of so many words may be sent now.
    bool hasRoom(std::uint64_t words) const noexcept;

    /// Whether enough came back for sending to go on; sending in bursts spares the threads waking each other.
    bool isHalfEmpty() const noexcept;

    bool holds() const noexcept { return holds_; }
    std::uint64_t framesUnderWay() const noexcept { return frames_; }

    /// When the last frame came back, as far as `observe` saw it.
    Clock::time_point lastReturn() const noexcept { return lastReturn_; }

private:
    void takeBack(const Returned& returned) noexcept;
    bool isStalled(const Returned& returned, Clock::time_point now) noexcept;

    const Limits limits_;
    bool holds_ = true;
    std::uint64_t frames_ = 0; // under way
    std::uint64_t words_ = 0;
    Returned seen_;                    // at the last observation
    bool waiting_ = false;             // a wait for the frames under way was begun
    Clock::time_point waitBegin_{};    // then
    std::uint64_t waitQuietPolls_ = 0; // then
    Clock::time_point lastReturn_{};
};

} // namespace orvo::host
