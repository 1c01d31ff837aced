// SPDX-License-Identifier: MIT
#pragma once

#include "frames/FrameOutput.h"
#include "traffic/LiveStreams.h"

namespace orvo::host {

/// Hands frames to an account of streams, and on to another output if there is one.
class StreamOutput final : public FrameOutput {
public:
    /// What is given must outlive it; `next` may be null.
    explicit StreamOutput(LiveStreams& streams, FrameOutput* next = nullptr)
        : streams_(streams), next_(next) {}

    std::vector<std::string> paths() const override {
        return next_ ? next_->paths() : std::vector<std::string>();
    }
    void begin() override {
        if (next_) next_->begin();
    }
    void write(const OutputFrame& frame) override {
        const auto time = static_cast<StreamTime>(frame.time.value_or(0));
        if (frame.diedAt)
            streams_.addDead(frame.withoutFcs(), *frame.diedAt, time);
        else
            streams_.addReceived(frame.withoutFcs(), frame.time ? std::optional(time) : std::nullopt);
        if (next_) next_->write(frame);
    }
    void noteMissed(std::uint32_t interface, std::uint64_t frames) override {
        if (next_) next_->noteMissed(interface, frames);
    }
    void flush() override {
        streams_.noteSilence();
        if (next_) next_->flush();
    }
    bool readerGone() const noexcept override { return next_ && next_->readerGone(); }
    void hurry() noexcept override {
        if (next_) next_->hurry();
    }
    void close() override {
        streams_.finish();
        if (next_) next_->close();
    }
    const std::deque<File>& files() const noexcept override { return next_ ? next_->files() : none_; }

private:
    LiveStreams& streams_;
    FrameOutput* const next_;
    const std::deque<File> none_;
};

} // namespace orvo::host
