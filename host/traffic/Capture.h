// SPDX-License-Identifier: MIT
// Recording of the frames that a port receives.
#pragma once

#include "base/FileDescriptor.h"
#include "frames/FrameCount.h"
#include "frames/FrameFilter.h"
#include "frames/FrameOutput.h"

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
    std::function<bool()> isOver = {};     ///< whether no more frames can come; empty: they always can
};

enum class CaptureEnd { Signal, Frames, Time, ReaderGone, Failure, Recording };
const char* captureEndText(CaptureEnd end);

struct CaptureTotals {
    FrameCount received;
    FrameCount written; ///< handed to the output
    std::uint64_t filteredOut = 0;
};

struct CaptureResult {
    CaptureTotals totals;
    CaptureEnd end = CaptureEnd::Signal;
    std::exception_ptr failure; ///< what ended the capture, if a failure did
    std::chrono::duration<double> duration{0};
};

/// Where a capture takes its frames. The capture's thread.
class FrameSource {
public:
    virtual ~FrameSource() = default;

    /// The next frame, which stays until the next call; nothing when none came for up to a second.
    virtual std::optional<OutputFrame> next() = 0;
    /// After the end was asked for: frames that had come before.
    virtual std::optional<OutputFrame> left() { return std::nullopt; }
    /// Says what is known only at the end, also after a failure.
    virtual void end(FrameOutput&) {}
};

/// What a port hands over.
class PortSource final : public FrameSource {
public:
    /// The port must outlive it.
    explicit PortSource(core::zume::PhysicalNetworkInterface& port) : port_(port) {}
    std::optional<OutputFrame> next() override;

private:
    core::zume::PhysicalNetworkInterface& port_;
    QByteArray frame_;
};

/// Takes frames from a source on a thread of its own, and writes those that pass the filter.
class Capture {
public:
    /// `filter` may be null; what is given must outlive the capture.
    Capture(FrameSource& source, FrameOutput& output, const FrameFilter* filter);

    using Call = std::function<void()>; ///< on the thread that calls `run`

    /// Captures until a signal asks for the end, a limit is reached or the output's reader is gone. Then
    /// calls `ending`, waits for at most one empty `next` of the source, and closes the output; a reader
    /// that stalls has 50 ms for the rest. Calls `silent` once if no frame came within the first 3 s.
    CaptureResult run(const CaptureLimits& limits, const Call& ending, const Call& silent = {});

    /// Any thread.
    CaptureTotals totals() const noexcept;

private:
    using Clock = std::chrono::steady_clock;

    CaptureEnd awaitEnd(const CaptureLimits& limits, const Call& silent) const;
    CaptureEnd awaitRecordingEnd(const std::function<bool()>& isOver, Clock::time_point limit) const;
    bool awaitEndUntil(Clock::time_point limit) const;
    void receiveAll() noexcept;
    void receiveOne();
    void receiveRest();
    void take(const OutputFrame& frame);
    void show();
    bool isAskedToEnd() const noexcept;
    template <class Step> void attempt(Step step) noexcept;
    void noteFailure() noexcept;

    FrameSource& source_;
    FrameOutput& output_;
    const FrameFilter* const filter_;
    std::uint64_t framesLeft_ = 0; // to the limit
    Clock::time_point shownAt_{};  // when the output was last flushed
    std::atomic<bool> stopRequested_{false};
    EventFd threadEnded_;
    std::optional<CaptureEnd> ownEnd_; // set by the thread when it ends by itself; read after it has ended
    std::exception_ptr failure_;       // likewise

    struct alignas(64) {
        LiveFrameCount received;
        LiveFrameCount written;
        LiveCounter filteredOut;
    } counters_; // written by the thread alone
};

} // namespace orvo::host
