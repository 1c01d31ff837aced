// SPDX-License-Identifier: MIT
#include "traffic/Capture.h"

#include "base/Signals.h"
#include "frames/BlockFile.h"

#include <algorithm>
#include <array>
#include <limits>
#include <thread>

namespace orvo::host {
namespace {

using namespace std::chrono_literals;

// A reader of the output sees a single frame at once, and frames in a row after this time at most.
constexpr auto showInterval = 50ms;
constexpr auto silenceLimit = 3s;
constexpr auto recordingPoll = 5ms;
constexpr auto never = std::chrono::steady_clock::time_point::max();

} // namespace

const char* captureEndText(CaptureEnd end) {
    constexpr std::array texts = {"by a signal",
                                  "after the requested number of frames",
                                  "after the requested time",
                                  "because the reader closed the pipe",
                                  "early, because of an error",
                                  "with the recording"};
    return texts[static_cast<std::size_t>(end)];
}

std::optional<OutputFrame> PortSource::next() {
    const auto frame = port_.receive(nullptr);
    if (!frame) return std::nullopt;
    frame_ = frame->data();
    const auto* const bytes = reinterpret_cast<const std::uint8_t*>(frame_.constData());
    return OutputFrame{.bytes = {bytes, static_cast<std::size_t>(frame_.size())}};
}

Capture::Capture(FrameSource& source, FrameOutput& output, const FrameFilter* filter)
    : source_(source), output_(output), filter_(filter) {}

CaptureTotals Capture::totals() const noexcept {
    return {counters_.received.value(), counters_.written.value(), counters_.filteredOut.value()};
}

/// A failure is noted, and ends nothing but this step.
template <class Step> void Capture::attempt(Step step) noexcept {
    try {
        step();
    } catch (...) {
        noteFailure();
    }
}

CaptureResult Capture::run(const CaptureLimits& limits, const Call& ending, const Call& silent) {
    framesLeft_ = limits.frames != 0 ? limits.frames : std::numeric_limits<std::uint64_t>::max();
    std::thread thread;
    {
        const SignalShield handledHere; // the thread inherits it
        thread = std::thread([this] { receiveAll(); });
    }
    const auto begin = Clock::now();
    const auto end = awaitEnd(limits, silent);
    const auto duration = Clock::now() - begin;
    stopRequested_ = true;
    output_.hurry();
    ending();
    thread.join();
    attempt([this] { output_.close(); });
    return {totals(), ownEnd_.value_or(end), failure_, duration};
}

CaptureEnd Capture::awaitEnd(const CaptureLimits& limits, const Call& silent) const {
    const auto limit = limits.time;
    const auto begin = Clock::now();
    const auto end = limit.count() > 0 ? begin + std::chrono::ceil<Clock::duration>(limit) : never;
    if (limits.isOver) return awaitRecordingEnd(limits.isOver, end);
    const auto firstLook = begin + silenceLimit;
    if (firstLook < end) {
        if (awaitEndUntil(firstLook)) return CaptureEnd::Signal;
        if (counters_.received.value().frames == 0 && silent) silent();
    }
    return awaitEndUntil(end) ? CaptureEnd::Signal : CaptureEnd::Time;
}

/// What a recording delivers comes faster than it did, or as fast; a limit of time holds all the same.
CaptureEnd Capture::awaitRecordingEnd(const std::function<bool()>& isOver, Clock::time_point limit) const {
    while (!isOver()) {
        if (awaitEndUntil(std::min(limit, Clock::now() + recordingPoll))) return CaptureEnd::Signal;
        if (Clock::now() >= limit) return CaptureEnd::Time;
    }
    return CaptureEnd::Recording;
}

/// Returns whether a signal, or the receiving thread, ended the capture before `limit`.
bool Capture::awaitEndUntil(Clock::time_point limit) const {
    return awaitEndRequest(limit, threadEnded_.descriptor());
}

void Capture::receiveAll() noexcept {
    attempt([this] {
        while (!ownEnd_ && !isAskedToEnd()) receiveOne();
        receiveRest();
    });
    attempt([this] { source_.end(output_); });
    threadEnded_.raise();
}

bool Capture::isAskedToEnd() const noexcept {
    return stopRequested_.load(std::memory_order_relaxed) || endRequested() != 0;
}

void Capture::receiveOne() {
    const auto frame = source_.next();
    if (frame) take(*frame);
    if (const auto now = Clock::now(); !frame || now - shownAt_ >= showInterval) {
        shownAt_ = now;
        show();
    }
}

void Capture::receiveRest() {
    while (!ownEnd_) {
        const auto frame = source_.left();
        if (!frame) return;
        take(*frame);
    }
}

void Capture::show() {
    output_.flush();
    if (!ownEnd_ && output_.readerGone()) ownEnd_ = CaptureEnd::ReaderGone;
}

void Capture::take(const OutputFrame& frame) {
    counters_.received.add(frame.bytes.size());
    const auto content = frame.withoutFcs();
    if (filter_ && !filter_->passes(content.data(), content.size())) {
        counters_.filteredOut.add(1);
        return;
    }
    output_.write(frame);
    counters_.written.add(frame.bytes.size());
    if (--framesLeft_ == 0) ownEnd_ = CaptureEnd::Frames;
}

// Only the first failure counts, and a reader that was slow when the end came is none.
void Capture::noteFailure() noexcept {
    if (failure_ || ownEnd_ == CaptureEnd::ReaderGone) return;
    try {
        throw;
    } catch (const ReaderGone&) {
        if (!ownEnd_ && !isAskedToEnd()) ownEnd_ = CaptureEnd::ReaderGone;
    } catch (...) {
        ownEnd_ = CaptureEnd::Failure;
        failure_ = std::current_exception();
    }
}

} // namespace orvo::host
