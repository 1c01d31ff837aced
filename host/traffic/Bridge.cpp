// SPDX-License-Identifier: MIT
#include "traffic/Bridge.h"

#include "base/Failure.h"
#include "base/Signals.h"

#include <offload/FrameCut.h>

#include <boost/make_shared.hpp>

#include <poll.h>

#include <algorithm>
#include <csignal>
#include <numeric>

namespace orvo::host {
namespace {

using core::zume::EthernetFrame;

constexpr std::chrono::milliseconds returnPause{200}; // between two attempts to attach to a TAP that is gone
constexpr std::size_t framesAtOnce = 1024;            // read from the TAP before other events are polled
constexpr std::chrono::seconds observeInterval{1};
constexpr std::chrono::seconds reopenInterval{1};

template <std::size_t count>
std::array<std::uint64_t, count> valuesOf(const std::array<LiveCounter, count>& counters) {
    std::array<std::uint64_t, count> values{};
    std::transform(counters.begin(), counters.end(), values.begin(),
                   [](const LiveCounter& counter) { return counter.value(); });
    return values;
}

} // namespace

const char* tapDropText(TapDrop reason) {
    constexpr std::array<const char*, tapDropCount> texts = {
        "from the port: TAP queue full", "from the port: TAP down", "from the port: TAP gone",
        "from the port: TAP refused it"};
    return texts[static_cast<std::size_t>(reason)];
}

std::uint64_t BridgeTotals::takenFromPort() const noexcept {
    return std::accumulate(undelivered.begin(), undelivered.end(), toTap.frames);
}

Bridge::Bridge(core::zume::PhysicalNetworkInterface& port, TapDevice& tap,
               std::unique_ptr<WaitingFrames> waiting, const RequestSignals& requests,
               BridgeRecording* recording, LiveStreams& streams, Hooks hooks)
    : port_(port), tap_(tap), requests_(requests), recording_(recording), streams_(streams),
      hooks_(std::move(hooks)), buffer_(offload::OffloadHeader::longestFrame),
      delivery_(tap, std::move(waiting),
                [this](auto reason, auto frames, auto bytes) { countDelivery(reason, frames, bytes); }) {}

BridgeTotals Bridge::totals() const {
    return {toPort_.sent.value(),     toTap_.delivered.value(),   valuesOf(toPort_.dropped),
            valuesOf(toTap_.dropped), toPort_.uncuttable.value(), toPort_.whileReleased.value()};
}

void Bridge::run() {
    std::thread portThread;
    {
        const SignalShield handledHere; // the thread inherits it
        portThread = std::thread([this] { carryToTap(); });
    }
    std::exception_ptr failure;
    try {
        carryToPort();
        hooks_.ending();
    } catch (...) {
        failure = std::current_exception();
    }
    stopRequested_ = true;
    letReceive(true);
    portThread.join();
    if (failure_) failure = failure_;
    if (failure) std::rethrow_exception(failure);
}

void Bridge::carryToPort() {
    std::array<pollfd, 4> sources = {{{tap_.descriptor(), POLLIN, 0},
                                      {endDescriptor(), POLLIN, 0},
                                      {portFailed_.descriptor(), POLLIN, 0},
                                      {requests_.descriptor(), POLLIN, 0}}};
    const auto& [tap, ended, failed, asked] = sources;
    while (endRequested() == 0) {
        if (poll(sources.data(), sources.size(), pollLimitMs()) < 0)
            continue; // a signal: the loop checks for it
        if (ended.revents != 0 || failed.revents != 0) break;
        if (asked.revents != 0) answerRequests();
        if (device_ == Device::Reopening) attemptReopening();
        if ((tap.revents & POLLERR) != 0)
            awaitTap();
        else {
            sendWaiting();
            observeTap();
        }
    }
}

void Bridge::observeTap() {
    const auto now = std::chrono::steady_clock::now();
    if (now - observedAt_ < observeInterval) return;
    observedAt_ = now;
    hooks_.tapRead();
}

void Bridge::sendWaiting() {
    for (std::size_t frames = 0; frames < framesAtOnce && endRequested() == 0;) {
        offload::OffloadHeader header;
        const auto bytes = tap_.read(header, buffer_);
        if (bytes <= 0) return; // none left, or the TAP is gone, which poll reports
        frames += send(header, std::span(buffer_).first(static_cast<std::size_t>(bytes)));
    }
}

int Bridge::pollLimitMs() const noexcept {
    constexpr std::chrono::milliseconds limit = reopenInterval;
    return device_ == Device::Reopening ? static_cast<int>(limit.count()) : -1;
}

void Bridge::answerRequests() {
    while (const auto request = requests_.next())
        if (*request == SIGUSR1)
            hooks_.report();
        else
            switchDevice();
}

void Bridge::switchDevice() {
    if (device_ != Device::Open) {
        device_ = Device::Reopening;
        return;
    }
    letReceive(false);
    if (hooks_.release())
        device_ = Device::Released;
    else
        letReceive(true);
}

void Bridge::attemptReopening() {
    const auto now = std::chrono::steady_clock::now();
    if (now < nextAttempt_) return;
    nextAttempt_ = now + reopenInterval;
    if (!hooks_.reopen()) return;
    nextAttempt_ = {};
    device_ = Device::Open;
    letReceive(true);
}

void Bridge::letReceive(bool on) noexcept {
    receives_ = on;
    receives_.notify_one();
}

/// Returns how many frames it became.
std::size_t Bridge::send(const offload::OffloadHeader& header, std::span<std::uint8_t> bytes) {
    offload::FrameCut cut(header, bytes);
    if (cut.refusal()) toPort_.uncuttable.add(1);
    std::size_t frames = 0;
    for (auto frame = cut.next(); !frame.empty(); frame = cut.next(), ++frames) send(frame);
    return std::max<std::size_t>(frames, 1);
}

void Bridge::send(std::span<const std::uint8_t> bytes) {
    if (device_ != Device::Open) {
        toPort_.whileReleased.add(1);
        return;
    }
    CapturedFrame frame;
    frame.bytes = bytes.data();
    frame.length = frame.originalLength = bytes.size();
    if (const auto reason = dropReason(frame)) {
        toPort_.dropped[static_cast<std::size_t>(*reason)].add(1);
        return;
    }
    const auto padded = paddedFrame(frame);
    toPort_.sent.add(static_cast<std::size_t>(padded.size()));
    if (recording_) recording_->add(BridgeRecording::Direction::ToPort, padded);
    streams_.addSent(padded);
    port_.addToSendQueue(boost::make_shared<EthernetFrame>(padded));
    port_.transmitSendQueue();
}

void Bridge::awaitTap() {
    tapState_ = TapState::Gone;
    hooks_.tell("TAP " + quoted(tap_.name()) + " is gone; frames are dropped until there is a TAP " +
                "of that name again");
    while (endRequested() == 0 && !tap_.takeAgain()) {
        awaitEndRequest(returnPause);
        answerRequests();
        if (device_ == Device::Reopening) attemptReopening();
    }
    if (endRequested() != 0) return;
    hooks_.tapReturned();
    change(TapState::Gone, TapState::Working, "is back");
}

void Bridge::carryToTap() noexcept {
    try {
        while (!stopRequested_.load(std::memory_order_relaxed) && endRequested() == 0) {
            pauseIfAsked();
            if (const auto frame = port_.receive(nullptr)) {
                take(frame->data());
            } else {
                delivery_.flush();
                streams_.noteSilence();
            }
        }
        delivery_.flush();
    } catch (...) {
        failure_ = std::current_exception();
        portFailed_.raise();
    }
}

void Bridge::pauseIfAsked() {
    if (receives_.load(std::memory_order_relaxed)) return;
    delivery_.pause();
    receives_.wait(false, std::memory_order_relaxed);
}

void Bridge::take(const QByteArray& frame) {
    const Delivery::Bytes bytes(reinterpret_cast<const std::uint8_t*>(frame.constData()),
                                static_cast<std::size_t>(frame.size()));
    if (recording_) recording_->add(BridgeRecording::Direction::ToTap, frame);
    streams_.addReceived(bytes);
    delivery_.take(bytes);
}

void Bridge::countDelivery(std::optional<TapDrop> reason, std::size_t frames, std::size_t bytes) {
    const auto state = tapState_.load(std::memory_order_relaxed);
    if (!reason) {
        toTap_.delivered.add(bytes, frames);
        if (state == TapState::Down) change(state, TapState::Working, "is up again");
        return;
    }
    toTap_.dropped[static_cast<std::size_t>(*reason)].add(frames);
    if (reason == TapDrop::Down && state == TapState::Working)
        change(state, TapState::Down,
               "is down; frames of the port are dropped until 'sudo ip link set " + tap_.name() + " up'");
}

void Bridge::change(TapState from, TapState to, const std::string& news) {
    if (tapState_.compare_exchange_strong(from, to)) hooks_.tell("TAP " + quoted(tap_.name()) + " " + news);
}

} // namespace orvo::host
