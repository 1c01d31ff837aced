// SPDX-License-Identifier: MIT
// Recording of what a port receives.
#pragma once

#include "base/EventDescriptor.h"
#include "frames/CaptureOutput.h"
#include "frames/FrameFilter.h"
#include "frames/LiveCount.h"

#include <orvo/core/zume/PhysicalNetworkInterface.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <exception>
#include <functional>
#include <optional>

namespace orvo::host {

struct CaptureLimits {
    std::uint64_t frames = 0;              ///< written; 0: no limit
    std::chrono::duration<double> time{0}; ///< 0: no limit
};

enum class CaptureEnd { Signal, Frames, Time, ReaderGone, Failure };
const char* textOf(CaptureEnd end);

struct CaptureTotals {
    FrameCount received;
    FrameCount written; ///< handed to the output
    std::uint64_t filteredOut = 0;
};

struct CaptureResult {
    CaptureTotals totals;
    CaptureEnd end = CaptureEnd::Signal;
    std::exception_ptr failure; ///< what ended it, when a failure did
};

/// Takes frames from a port on a thread of its own, and writes those that pass the filter.
class Capture {
public:
    /// `filter` may be null; what is given must outlive the capture.
    Capture(core::zume::PhysicalNetworkInterface& port, CaptureOutput& output, const FrameFilter* filter);
    Capture(const Capture&) = delete;
    Capture& operator=(const Capture&) = delete;

    /// Captures until a signal asks for the end, a limit is reached or nobody reads the output any more; then
    /// calls `ending`, takes as long as one empty `receive` of the port, and closes the output. A reader that
    /// does not read on has 50 ms for it then.
    CaptureResult run(const CaptureLimits& limits, const std::function<void()>& ending);

    /// Any thread.
    CaptureTotals totals() const noexcept;

private:
    using Clock = std::chrono::steady_clock;

    CaptureEnd awaitEnd(std::chrono::duration<double> limit) const;
    void receiveAll() noexcept;
    void receiveOne();
    void take(const QByteArray& frame);
    void show();
    bool isAskedToEnd() const noexcept;
    void closeOutput() noexcept;
    void noteFailure() noexcept;

    core::zume::PhysicalNetworkInterface& port_;
    CaptureOutput& output_;
    const FrameFilter* const filter_;
    std::uint64_t framesLeft_ = 0; // to the limit
    Clock::time_point shownAt_{};  // when the output was last flushed and its reader looked for
    std::atomic<bool> stopRequested_{false};
    EventDescriptor threadEnded_;
    std::optional<CaptureEnd> ownEnd_; // the thread's, where it ends by itself; read after it has ended
    std::exception_ptr failure_;       // likewise

    struct alignas(64) {
        LiveFrameCount received;
        LiveFrameCount written;
        LiveCounter filteredOut;
    } counters_; // written by the thread alone
};

} // namespace orvo::host
