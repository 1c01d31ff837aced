// SPDX-License-Identifier: MIT
// The two directions of a bridge.
#include "traffic/Bridge.h"

#include "base/Failure.h"
#include "base/Signals.h"

#include <boost/make_shared.hpp>

#include <poll.h>

#include <algorithm>
#include <numeric>

namespace orvo::host {
namespace {

using core::zume::EthernetFrame;

constexpr std::size_t bufferBytes = 65'536; // a TAP's MTU is at most 65,521
constexpr int returnPauseMs = 200;          // between two looks for a TAP that is gone
constexpr int framesAtOnce = 1024;          // of the TAP, before other news are looked at
constexpr std::chrono::seconds lookInterval{1};

template <std::size_t count> std::uint64_t sumOf(const std::array<std::uint64_t, count>& numbers) noexcept {
    return std::accumulate(numbers.begin(), numbers.end(), std::uint64_t{0});
}

template <std::size_t count>
std::array<std::uint64_t, count> valuesOf(const std::array<LiveCounter, count>& counters) {
    std::array<std::uint64_t, count> values{};
    std::transform(counters.begin(), counters.end(), values.begin(),
                   [](const LiveCounter& counter) { return counter.value(); });
    return values;
}

} // namespace

const char* textOf(TapDrop reason) {
    switch (reason) {
    case TapDrop::Full:
        return "of the port for which the TAP had no room";
    case TapDrop::Down:
        return "of the port while the TAP was down";
    case TapDrop::Gone:
        return "of the port while the TAP was gone";
    case TapDrop::Refused:
        return "of the port that the TAP refused";
    }
    return "";
}

std::uint64_t BridgeTotals::droppedFrames() const noexcept {
    return sumOf(unsendable) + sumOf(undelivered);
}

Bridge::Bridge(core::zume::PhysicalNetworkInterface& port, TapDevice& tap, Hooks hooks)
    : port_(port), tap_(tap), hooks_(std::move(hooks)), buffer_(bufferBytes) {}

BridgeTotals Bridge::totals() const {
    return {toPort_.sent.value(), toTap_.delivered.value(), valuesOf(toPort_.dropped),
            valuesOf(toTap_.dropped)};
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
    portThread.join();
    if (failure_) failure = failure_;
    if (failure) std::rethrow_exception(failure);
}

void Bridge::carryToPort() {
    std::array<pollfd, 3> sources = {{{tap_.descriptor(), POLLIN, 0},
                                      {endDescriptor(), POLLIN, 0},
                                      {portFailed_.descriptor(), POLLIN, 0}}};
    const auto& [tap, ended, failed] = sources;
    while (endRequested() == 0) {
        if (poll(sources.data(), sources.size(), -1) < 0) continue; // a signal: the loop looks at it
        if (ended.revents != 0 || failed.revents != 0) break;
        if ((tap.revents & POLLERR) != 0)
            awaitTap();
        else {
            sendWaiting();
            lookAtTap();
        }
    }
}

void Bridge::lookAtTap() {
    const auto now = std::chrono::steady_clock::now();
    if (now - lookedAt_ < lookInterval) return;
    lookedAt_ = now;
    hooks_.tapRead();
}

void Bridge::sendWaiting() {
    for (int i = 0; i < framesAtOnce && endRequested() == 0; ++i) {
        const auto bytes = tap_.read(buffer_.data(), buffer_.size());
        if (bytes <= 0) return; // none left, or the TAP is gone, which poll tells
        send(static_cast<std::size_t>(bytes));
    }
}

void Bridge::send(std::size_t bytes) {
    CapturedFrame frame;
    frame.bytes = buffer_.data();
    frame.length = frame.originalLength = bytes;
    if (const auto reason = dropReason(frame)) {
        toPort_.dropped[static_cast<std::size_t>(*reason)].add(1);
        return;
    }
    const auto padded = paddedFrame(frame);
    toPort_.sent.add(static_cast<std::size_t>(padded.size()));
    port_.addToSendQueue(boost::make_shared<EthernetFrame>(padded));
    port_.transmitSendQueue();
}

void Bridge::awaitTap() {
    tapState_ = TapState::Gone;
    hooks_.tell("TAP " + quoted(tap_.name()) + " is gone; frames are dropped until there is a TAP " +
                "of that name again");
    pollfd ended{endDescriptor(), POLLIN, 0};
    while (endRequested() == 0 && !tap_.takeAgain()) poll(&ended, 1, returnPauseMs);
    if (endRequested() != 0) return;
    hooks_.tapReturned();
    change(TapState::Gone, TapState::Working, "is back");
}

void Bridge::carryToTap() noexcept {
    try {
        while (!stopRequested_.load(std::memory_order_relaxed) && endRequested() == 0)
            if (const auto frame = port_.receive(nullptr)) deliver(frame->data());
    } catch (...) {
        failure_ = std::current_exception();
        portFailed_.raise();
    }
}

void Bridge::deliver(const QByteArray& frame) {
    using Written = TapDevice::Written;
    const auto drop = [this](TapDrop reason) { toTap_.dropped[static_cast<std::size_t>(reason)].add(1); };
    const auto bytes = static_cast<std::size_t>(frame.size());
    switch (tap_.write(frame.constData(), bytes)) {
    case Written::Done:
        toTap_.delivered.add(bytes);
        if (tapState_.load(std::memory_order_relaxed) == TapState::Down)
            change(TapState::Down, TapState::Working, "is up again");
        return;
    case Written::Full:
        return drop(TapDrop::Full);
    case Written::Down:
        if (tapState_.load(std::memory_order_relaxed) == TapState::Working)
            change(TapState::Working, TapState::Down,
                   "is down; frames of the port are dropped until 'sudo ip link set " + tap_.name() + " up'");
        return drop(TapDrop::Down);
    case Written::Gone:
        return drop(TapDrop::Gone);
    case Written::Refused:
        return drop(TapDrop::Refused);
    }
}

void Bridge::change(TapState from, TapState to, const std::string& news) {
    if (tapState_.compare_exchange_strong(from, to)) hooks_.tell("TAP " + quoted(tap_.name()) + " " + news);
}

} // namespace orvo::host
