// SPDX-License-Identifier: MIT
// Bookkeeping of frames under way.
#include "frames/SendWindow.h"

#include <algorithm>

namespace orvo::host {

void SendWindow::sent(std::uint64_t words) noexcept {
    ++frames_;
    words_ += words;
}

bool SendWindow::observe(const Returned& returned, Clock::time_point now) noexcept {
    if (returned.frames != seen_.frames) {
        takeBack(returned);
        holds_ = true;
        waiting_ = false;
        lastReturn_ = now;
    }
    if (frames_ == 0) waiting_ = false;
    if (frames_ == 0 || !isStalled(returned, now)) return false;
    frames_ = 0;
    words_ = 0;
    holds_ = false;
    waiting_ = false;
    return true;
}

void SendWindow::takeBack(const Returned& returned) noexcept {
    frames_ -= std::min(frames_, returned.frames - seen_.frames);
    words_ = frames_ == 0 ? 0 : words_ - std::min(words_, returned.words - seen_.words);
    seen_ = returned;
}

bool SendWindow::isStalled(const Returned& returned, Clock::time_point now) noexcept {
    if (!waiting_) {
        waiting_ = true;
        waitBegin_ = now;
        waitQuietPolls_ = returned.quietPolls;
    }
    return now - waitBegin_ >= limits_.pause && returned.quietPolls - waitQuietPolls_ >= limits_.quietPolls;
}

bool SendWindow::hasRoom(std::uint64_t words) const noexcept {
    return !holds_ || frames_ == 0 || (frames_ < limits_.frames && words_ + words <= limits_.words);
}

bool SendWindow::isHalfEmpty() const noexcept {
    return !holds_ || (frames_ <= limits_.frames / 2 && words_ <= limits_.words / 2);
}

} // namespace orvo::host
