// SPDX-License-Identifier: MIT
// Sending a capture through one port and receiving at the same or another port.
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
    std::uint64_t spoiled = 0;                            ///< of these, with a wrong check sequence
    FrameCount received;                                  ///< padding included
    std::array<std::uint64_t, dropReasonCount> dropped{}; ///< frames that could not be sent, by DropReason
    std::chrono::nanoseconds duration{0}; ///< from the first frame sent to the last one sent or received
    std::chrono::nanoseconds latest{0};   ///< how late the latest frame was sent

    std::uint64_t droppedFrames() const noexcept;
    /// Frames sent with a right check sequence, minus frames received.
    std::uint64_t missingFrames() const noexcept;
};

/// How frames are sent.
struct SendOptions {
    Pace pace;
    /// Every frame of this number carries a wrong check sequence, so that the receiving end must drop it; 0:
    /// none does. The sending port must have its custom checksum enabled.
    std::uint64_t spoiledEvery = 0;
};

/// Calls out of a replay.
struct ReplayHooks {
    std::function<void()> allSent; ///< before the wait for frames in flight
    /// Both or none. With them, the replay sends and receives in turn on the calling thread: `pass` lets time
    /// pass before a frame, `hasMore` tells whether the receiving port has more frames.
    std::function<void(std::chrono::microseconds)> pass;
    std::function<bool()> hasMore;
};

/// Sends a capture once or several times. Reads, prepares and sends on the calling thread, receives on
/// another. With a pace, frames are sent when they are due, whether or not earlier ones came back; otherwise
/// as fast as the send window allows.
class Replay {
public:
    /// `file` and `verifier` may be null.
    Replay(core::zume::PhysicalNetworkInterface& sender, core::zume::PhysicalNetworkInterface& receiver,
           PcapngWriter* file, Verifier* verifier, const SendOptions& options = {}, ReplayHooks hooks = {});

    /// Sends all frames `times` times (0: until a signal, or when no frame can be sent) and waits until all
    /// have come back or no more come. A signal ends it early, after the frames in flight. Several times need
    /// a regular file. Errors: Failure of capture or file, after the frames in flight have come back.
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
    bool isNextSpoiled() const noexcept;
    void hand(QByteArray&& bytes, bool isSpoiled);
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
    const std::uint64_t spoiledEvery_;
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
