// SPDX-License-Identifier: MIT
// The receiving thread.
#include "traffic/FrameReceiver.h"

#include "frames/FramePreparation.h"

#include <utility>

namespace orvo::host {
namespace {

// Counters with one writer need no read-modify-write. Nothing is published by most of them, so no order
// either.
void add(std::atomic<std::uint64_t>& counter, std::uint64_t amount,
         std::memory_order order = std::memory_order_relaxed) noexcept {
    counter.store(counter.load(std::memory_order_relaxed) + amount, order);
}

} // namespace

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

// Whoever sees a frame counted also sees its words counted: they go together in the window.
Returned FrameReceiver::returned() const noexcept {
    const auto frames = counters_.frames.load(std::memory_order_acquire);
    return {frames, counters_.words.load(std::memory_order_relaxed),
            counters_.quietPolls.load(std::memory_order_relaxed)};
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
        add(counters_.quietPolls, 1);
}

void FrameReceiver::take(const QByteArray& bytes) {
    const auto size = static_cast<std::size_t>(bytes.size());
    if (file_) file_->write(bytes.constData(), size);
    if (verifier_) verifier_->receive(bytes);
    add(counters_.bytes, size);
    add(counters_.words, queueWords(size));
    add(counters_.frames, 1, std::memory_order_release);
}

// A frame is announced before it is sent, so whatever has been received is among those passed on here.
void FrameReceiver::passOnExpected() {
    expected_.consume_all([this](SentFrame& frame) { verifier_->expect(std::move(frame)); });
}

} // namespace orvo::host
