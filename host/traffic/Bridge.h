// SPDX-License-Identifier: MIT
// Frames between a port and a TAP, both ways.
#pragma once

#include "base/FileDescriptor.h"
#include "base/RequestSignals.h"
#include "frames/FrameCount.h"
#include "frames/FramePreparation.h"
#include "frames/TapDevice.h"
#include "traffic/BridgeRecording.h"
#include "traffic/Delivery.h"
#include "traffic/LiveStreams.h"

#include <orvo/core/zume/PhysicalNetworkInterface.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <exception>
#include <functional>
#include <span>
#include <string>
#include <vector>

namespace orvo::host {

const char* tapDropText(TapDrop reason);

struct BridgeTotals {
    FrameCount toPort; ///< padding included
    FrameCount toTap;
    std::array<std::uint64_t, dropReasonCount> unsendable{}; ///< frames of the TAP, by DropReason
    std::array<std::uint64_t, tapDropCount> undelivered{};   ///< frames of the port, by TapDrop
    std::uint64_t uncuttable = 0;                            ///< joined frames of the TAP
    std::uint64_t whileReleased = 0;                         ///< frames of the TAP while there was no device

    std::uint64_t takenFromPort() const noexcept;
};

/// Carries frames from the TAP to the port on the calling thread, and from the port to the TAP on a thread of
/// its own. Both sleep while there is no traffic. On SIGUSR2, traffic pauses and the device is released; on
/// the next one it is opened again.
class Bridge {
public:
    struct Hooks {
        std::function<void(const std::string&)> tell; ///< a message for the user; either thread
        std::function<void()> tapRead;     ///< about once a second while the TAP has frames; calling thread
        std::function<void()> tapReturned; ///< a deleted TAP is there again, and not set up; calling thread
        std::function<void()> ending;      ///< no more frames go to the port; calling thread
        std::function<void()> report;      ///< SIGUSR1; calling thread
        std::function<bool()> release;     ///< of the device; false when it failed; calling thread
        std::function<bool()> reopen;      ///< one attempt, while nothing is received; calling thread
    };

    /// `recording` may be null, and `waiting`: then frames of the port are not joined. What is given must
    /// outlive the bridge. `requests` are SIGUSR1 and SIGUSR2.
    Bridge(core::zume::PhysicalNetworkInterface& port, TapDevice& tap, std::unique_ptr<WaitingFrames> waiting,
           const RequestSignals& requests, BridgeRecording* recording, LiveStreams& streams, Hooks hooks);

    /// Carries frames until a signal asks for the end; ending takes as long as one empty `receive` of the
    /// port. Errors: what the port throws.
    void run();

    /// Any thread.
    BridgeTotals totals() const;

private:
    enum class TapState { Working, Down, Gone };
    enum class Device { Open, Released, Reopening };

    void carryToPort();
    void sendWaiting();
    void observeTap();
    std::size_t send(const offload::OffloadHeader& header, std::span<std::uint8_t> bytes);
    void send(std::span<const std::uint8_t> bytes);
    void awaitTap();

    void answerRequests();
    void switchDevice();
    void attemptReopening();
    int pollLimitMs() const noexcept;
    void letReceive(bool on) noexcept;

    void carryToTap() noexcept;
    void pauseIfAsked();
    void take(const QByteArray& frame);
    void countDelivery(std::optional<TapDrop> reason, std::size_t frames, std::size_t bytes);
    void change(TapState from, TapState to, const std::string& news);

    core::zume::PhysicalNetworkInterface& port_;
    TapDevice& tap_;
    const RequestSignals& requests_;
    BridgeRecording* const recording_;
    LiveStreams& streams_;
    const Hooks hooks_;
    std::vector<std::uint8_t> buffer_; // one frame of the TAP, perhaps a joined one
    Delivery delivery_;                // the port's thread's
    std::atomic<TapState> tapState_{TapState::Working};
    std::atomic<bool> stopRequested_{false};
    std::atomic<bool> receives_{true}; // false: the port's thread waits
    Device device_ = Device::Open;     // this and the next two are the calling thread's
    std::chrono::steady_clock::time_point nextAttempt_{};
    std::chrono::steady_clock::time_point observedAt_{};
    EventFd portFailed_;
    std::exception_ptr failure_; // written by the port's thread, read after it has ended

    // Each direction has cache lines of its own.
    struct alignas(64) {
        LiveFrameCount sent;
        std::array<LiveCounter, dropReasonCount> dropped;
        LiveCounter uncuttable;
        LiveCounter whileReleased;
    } toPort_;
    struct alignas(64) {
        LiveFrameCount delivered;
        std::array<LiveCounter, tapDropCount> dropped;
    } toTap_;
};

} // namespace orvo::host
