// SPDX-License-Identifier: MIT
// The capturing thread, and the one that waits for its end.
#include "traffic/Capture.h"

#include "base/Signals.h"

#include <poll.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <thread>

namespace orvo::host {
namespace {

using namespace std::chrono_literals;

// Whoever watches the output sees a frame at once if it comes alone, and otherwise after so long at most.
constexpr auto showInterval = 50ms;
constexpr double longestPollMs = 3'600'000;

} // namespace

const char* textOf(CaptureEnd end) {
    switch (end) {
    case CaptureEnd::Signal:
        return "by a signal";
    case CaptureEnd::Frames:
        return "with the last frame wanted";
    case CaptureEnd::Time:
        return "when its time was over";
    case CaptureEnd::ReaderGone:
        return "because nobody reads on";
    case CaptureEnd::Failure:
        return "early, by a failure";
    }
    return "";
}

Capture::Capture(core::zume::PhysicalNetworkInterface& port, CaptureOutput& output, const FrameFilter* filter)
    : port_(port), output_(output), filter_(filter) {}

CaptureTotals Capture::totals() const noexcept {
    return {counters_.received.value(), counters_.written.value(), counters_.filteredOut.value()};
}

CaptureResult Capture::run(const CaptureLimits& limits, const std::function<void()>& ending) {
    framesLeft_ = limits.frames != 0 ? limits.frames : std::numeric_limits<std::uint64_t>::max();
    std::thread thread;
    {
        const SignalShield handledHere; // the thread inherits it
        thread = std::thread([this] { receiveAll(); });
    }
    const auto end = awaitEnd(limits.time);
    stopRequested_ = true;
    output_.hurry();
    ending();
    thread.join();
    closeOutput();
    return {totals(), ownEnd_.value_or(end), failure_};
}

CaptureEnd Capture::awaitEnd(std::chrono::duration<double> limit) const {
    constexpr std::chrono::duration<double> noTime{0};
    const auto begin = Clock::now();
    std::array<pollfd, 2> sources = {{{endDescriptor(), POLLIN, 0}, {threadEnded_.descriptor(), POLLIN, 0}}};
    while (endRequested() == 0 && sources[1].revents == 0) {
        int waitMs = -1;
        if (limit > noTime) {
            const std::chrono::duration<double, std::milli> left = limit - (Clock::now() - begin);
            if (left <= noTime) return CaptureEnd::Time;
            waitMs = static_cast<int>(std::ceil(std::min(left.count(), longestPollMs)));
        }
        if (poll(sources.data(), sources.size(), waitMs) < 0) sources[1].revents = 0; // a signal
    }
    return CaptureEnd::Signal;
}

void Capture::receiveAll() noexcept {
    try {
        while (!ownEnd_ && !isAskedToEnd()) receiveOne();
    } catch (...) {
        noteFailure();
    }
    threadEnded_.raise();
}

bool Capture::isAskedToEnd() const noexcept {
    return stopRequested_.load(std::memory_order_relaxed) || endRequested() != 0;
}

void Capture::receiveOne() {
    const auto frame = port_.receive(nullptr);
    if (frame) take(frame->data());
    if (const auto now = Clock::now(); !frame || now - shownAt_ >= showInterval) {
        shownAt_ = now;
        show();
    }
}

void Capture::show() {
    output_.flush();
    if (!ownEnd_ && output_.readerGone()) ownEnd_ = CaptureEnd::ReaderGone;
}

void Capture::take(const QByteArray& frame) {
    const auto bytes = static_cast<std::size_t>(frame.size());
    counters_.received.add(bytes);
    if (filter_ && !filter_->passes(frame.constData(), bytes)) {
        counters_.filteredOut.add(1);
        return;
    }
    output_.write(frame.constData(), bytes);
    counters_.written.add(bytes);
    if (--framesLeft_ == 0) ownEnd_ = CaptureEnd::Frames;
}

void Capture::closeOutput() noexcept {
    try {
        output_.close();
    } catch (...) {
        noteFailure();
    }
}

// A failure after a failure tells nothing new, and neither does a reader that was slow when the end came.
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
