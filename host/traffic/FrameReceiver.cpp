// SPDX-License-Identifier: MIT
#include "traffic/FrameReceiver.h"

#include "frames/FramePreparation.h"

#include <utility>

namespace orvo::host {

FrameReceiver::FrameReceiver(core::zume::PhysicalNetworkInterface& port, PcapngWriter* file,
                             Verifier* verifier)
    : port_(port), file_(file), verifier_(verifier) {}

FrameReceiver::~FrameReceiver() {
    stopRequested_ = true;
    if (thread_.joinable()) thread_.join();
}

void FrameReceiver::start() {
    thread_ = std::thread([this] { run(); });
}

void FrameReceiver::stop() {
    stopRequested_ = true;
    if (thread_.joinable()) thread_.join();
    if (failure_) std::rethrow_exception(std::exchange(failure_, nullptr));
    passOnExpected();
}

bool FrameReceiver::expect(const SentFrame& frame) {
    return !verifier_ || expected_.push(frame);
}

// A reader that sees a frame counted also sees its words counted: the send window takes back both.
Returned FrameReceiver::returned() const noexcept {
    const auto frames = counters_.frames.value(std::memory_order_acquire);
    return {frames, counters_.words.value(), counters_.quietPolls.value()};
}

void FrameReceiver::run() noexcept {
    try {
        while (!stopRequested_.load(std::memory_order_relaxed)) poll();
    } catch (...) {
        failure_ = std::current_exception();
        failed_ = true;
    }
}

void FrameReceiver::poll() {
    const auto frame = port_.receive(nullptr);
    passOnExpected();
    if (frame)
        take(frame->data());
    else
        counters_.quietPolls.add(1);
}

void FrameReceiver::take(const QByteArray& bytes) {
    const auto size = static_cast<std::size_t>(bytes.size());
    if (file_) file_->write(bytes.constData(), size);
    if (verifier_) verifier_->receive(bytes);
    counters_.bytes.add(size);
    counters_.words.add(queueWords(size));
    counters_.frames.add(1, std::memory_order_release);
}

// A frame is announced before it is sent, so the announcement of a received frame is in the queue by now.
void FrameReceiver::passOnExpected() {
    expected_.consume_all([this](SentFrame& frame) { verifier_->expect(std::move(frame)); });
}

} // namespace orvo::host
