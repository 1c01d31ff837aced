// SPDX-License-Identifier: MIT
// Sending of a capture through one port and receiving at the same or another one.
#pragma once

#include "frames/CaptureReader.h"
#include "frames/FrameCount.h"
#include "frames/FramePreparation.h"
#include "frames/Pace.h"
#include "frames/SendWindow.h"
#include "traffic/FrameReceiver.h"

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>

namespace orvo::host {

struct ReplayResult {
    FrameCount read;
    FrameCount sent;                                      ///< padding included
    FrameCount received;                                  ///< padding included
    std::array<std::uint64_t, dropReasonCount> dropped{}; ///< frames that could not be sent, by DropReason
    std::chrono::nanoseconds duration{0}; ///< from the first frame sent to the last one sent or received
    std::chrono::nanoseconds latest{0};   ///< the most that a frame was sent after its due time

    std::uint64_t droppedFrames() const noexcept;
    /// Frames that were sent and did not come back, as far as counting tells.
    std::uint64_t missingFrames() const noexcept;
};

/// What a replay does besides.
struct ReplayHooks {
    std::function<void()> allSent; ///< before it waits for what is under way
    /// Both or none. With them, the replay sends and receives in turn on the calling thread: `pass` lets so
    /// much time go by before a frame, `hasMore` tells whether the receiving port has something.
    std::function<void(std::chrono::microseconds)> pass;
    std::function<bool()> hasMore;
};

/// One run over a capture, once or several times. Reads, prepares and sends on the calling thread, receives
/// on another. At a pace, frames are sent when they are due, whatever became of those before; at the greatest
/// speed, as fast as what returns has room.
class Replay {
public:
    /// `file` and `verifier` may be null.
    Replay(core::zume::PhysicalNetworkInterface& sender, core::zume::PhysicalNetworkInterface& receiver,
           PcapngWriter* file, Verifier* verifier, const Pace& pace = {}, ReplayHooks hooks = {});

    /// Sends all frames `times` times (0: until a signal ends it, or none can be sent) and waits until all
    /// have come back or no more come; a signal ends it early, in order. More than once takes a regular file.
    /// Errors: Failure of capture or file, once what is under way has come back.
    ReplayResult run(CaptureReader& capture, std::uint64_t times = 1);

    /// For a progress line; any thread.
    std::uint64_t sentFrames() const noexcept { return sentFrames_.load(std::memory_order_relaxed); }
    std::uint64_t receivedFrames() const noexcept { return receiver_.returned().frames; }

private:
    void sendAll(CaptureReader& capture, std::uint64_t times);
    void sendOnce(CaptureReader& capture);
    void send(const CapturedFrame& frame);
    bool awaitTurn(const CapturedFrame& frame, std::uint64_t words);
    bool announce(const QByteArray& bytes, std::uint64_t number);
    void hand(QByteArray&& bytes);
    void awaitRoom(std::uint64_t words);
    void awaitReturn();
    void observe();
    void passTime(const CapturedFrame& frame);
    void receiveAll();
    bool isInTurn() const noexcept { return static_cast<bool>(hooks_.hasMore); }
    bool isEnding() const noexcept;

    core::zume::PhysicalNetworkInterface& sender_;
    const bool verifying_;
    const bool paced_;
    const ReplayHooks hooks_;
    std::chrono::nanoseconds recordedBefore_{0}; // the last frame
    Schedule schedule_;
    FrameReceiver receiver_;
    SendWindow window_;
    ReplayResult result_;
    std::atomic<std::uint64_t> sentFrames_{0}; // a copy for the progress line
    SendWindow::Clock::time_point begin_{}, lastSend_{};
};

} // namespace orvo::host
