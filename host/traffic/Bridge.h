// SPDX-License-Identifier: MIT
// A port and a TAP as one wire.
#pragma once

#include "base/EventDescriptor.h"
#include "frames/FramePreparation.h"
#include "frames/LiveCount.h"
#include "frames/TapDevice.h"

#include <orvo/core/zume/PhysicalNetworkInterface.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <exception>
#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace orvo::host {

/// Why a frame of the port did not reach the host.
enum class TapDrop { Full, Down, Gone, Refused };
inline constexpr std::size_t tapDropCount = 4;
const char* textOf(TapDrop reason);

struct BridgeTotals {
    FrameCount toPort; ///< padding included
    FrameCount toTap;
    std::array<std::uint64_t, dropReasonCount> unsendable{}; ///< frames of the TAP, by DropReason
    std::array<std::uint64_t, tapDropCount> undelivered{};   ///< frames of the port, by TapDrop

    std::uint64_t droppedFrames() const noexcept;
};

/// Carries frames both ways: from the TAP to the port on the calling thread, from the port to the TAP on one
/// of its own. Both sleep while nothing flows.
class Bridge {
public:
    struct Hooks {
        std::function<void(const std::string&)> tell; ///< what the user should know; either thread
        std::function<void()> tapRead;     ///< now and then while the TAP has frames; calling thread
        std::function<void()> tapReturned; ///< to set up a TAP that went and came back; calling thread
        std::function<void()> ending;      ///< no more frames go to the port; calling thread
    };

    /// Port and TAP must outlive it.
    Bridge(core::zume::PhysicalNetworkInterface& port, TapDevice& tap, Hooks hooks);
    Bridge(const Bridge&) = delete;
    Bridge& operator=(const Bridge&) = delete;

    /// Carries frames until a signal asks for the end; then takes as long as one empty `receive` of the port.
    /// Errors: what the port threw.
    void run();

    /// Any thread.
    BridgeTotals totals() const;

private:
    enum class TapState { Working, Down, Gone };

    void carryToPort();
    void sendWaiting();
    void lookAtTap();
    void send(std::size_t bytes);
    void awaitTap();

    void carryToTap() noexcept;
    void deliver(const QByteArray& frame);
    void change(TapState from, TapState to, const std::string& news);

    core::zume::PhysicalNetworkInterface& port_;
    TapDevice& tap_;
    const Hooks hooks_;
    std::vector<std::uint8_t> buffer_; // one frame of the TAP
    std::atomic<TapState> tapState_{TapState::Working};
    std::atomic<bool> stopRequested_{false};
    std::chrono::steady_clock::time_point lookedAt_{}; // at the TAP; the calling thread's
    EventDescriptor portFailed_;
    std::exception_ptr failure_; // written by the port's thread, read after it has ended

    // Each direction has cache lines of its own.
    struct alignas(64) {
        LiveFrameCount sent;
        std::array<LiveCounter, dropReasonCount> dropped;
    } toPort_;
    struct alignas(64) {
        LiveFrameCount delivered;
        std::array<LiveCounter, tapDropCount> dropped;
    } toTap_;
};

} // namespace orvo::host
