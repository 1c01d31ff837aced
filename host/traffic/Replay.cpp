// SPDX-License-Identifier: MIT
#include "traffic/Replay.h"

#include "base/Signals.h"
#include "device/BoardServer.h"
#include "device/recording/Playback.h"

#include <boost/make_shared.hpp>

#include <algorithm>
#include <exception>
#include <numeric>
#include <thread>

namespace orvo::host {
namespace {

using core::zume::EthernetFrame;

// Between two readings of what came back; a quarter of the window takes 0.5 ms at full speed.
constexpr std::chrono::microseconds observePause{50};

constexpr unsigned wrongInEveryBit = 0xFFFF'FFFF; // error mask of a check sequence

constexpr std::int64_t wireNanoseconds = 8;   // a byte at 1000 Mbit/s
constexpr std::size_t wireOverheadBytes = 24; // frame check sequence, preamble and gap
constexpr std::chrono::seconds longestGap{1};
constexpr int mostPolls = 1'000'000; // bounds the loop when a board stays away

} // namespace

std::uint64_t ReplayResult::droppedFrames() const noexcept {
    return std::accumulate(dropped.begin(), dropped.end(), std::uint64_t{0});
}

std::uint64_t ReplayResult::missingFrames() const noexcept {
    const auto good = sent.frames - spoiled;
    return good - std::min(good, received.frames);
}

Replay::Replay(core::zume::PhysicalNetworkInterface& sender, core::zume::PhysicalNetworkInterface& receiver,
               PcapngWriter* file, Verifier* verifier, const SendOptions& options, ReplayHooks hooks)
    : sender_(sender), verifying_(verifier), paced_(options.pace.kind != Pace::Kind::Max),
      spoiledEvery_(options.spoiledEvery), hooks_(std::move(hooks)), schedule_(options.pace),
      receiver_(receiver, file, verifier) {}

ReplayResult Replay::run(CaptureReader& capture, std::uint64_t times) {
    if (!isInTurn()) receiver_.start();
    begin_ = lastSend_ = SendWindow::Clock::now();
    std::exception_ptr failure;
    try {
        sendAll(capture, times);
    } catch (...) {
        failure = std::current_exception(); // of the capture; frames in flight are still received
    }
    if (hooks_.allSent) hooks_.allSent();
    isInTurn() ? receiveAll() : awaitReturn();
    Playback::letOthersCatchUp();
    receiver_.stop();
    if (result_.spoiled != 0) receiver_.poll(); // the plug-in's watch for CRC errors then sees the last ones
    if (failure && endRequested() == 0) std::rethrow_exception(failure);
    result_.received = {receiver_.returned().frames, receiver_.receivedBytes()};
    result_.duration = std::max(lastSend_, window_.lastReturn()) - begin_;
    return result_;
}

void Replay::sendAll(CaptureReader& capture, std::uint64_t times) {
    sendOnce(capture);
    for (std::uint64_t done = 1, sentBefore = 0; done != times && !isEnding(); ++done) {
        if (result_.sent.frames == sentBefore) return; // none of its frames can be sent
        sentBefore = result_.sent.frames;
        schedule_.beginAgain();
        CaptureReader again(capture.path());
        sendOnce(again);
    }
}

void Replay::sendOnce(CaptureReader& capture) {
    CapturedFrame frame;
    while (!isEnding() && capture.next(frame)) send(frame);
}

bool Replay::isEnding() const noexcept {
    return endRequested() != 0 || receiver_.failed();
}

void Replay::send(const CapturedFrame& frame) {
    if (const auto reason = dropReason(frame)) {
        result_.read.add(frame.length);
        ++result_.dropped[static_cast<std::size_t>(*reason)];
        return;
    }
    auto bytes = paddedFrame(frame);
    const auto size = static_cast<std::size_t>(bytes.size());
    if (isInTurn())
        passTime(frame);
    else if (!awaitTurn(frame, queueWords(size)))
        return; // a signal asked for the end: this frame and those after it are not sent
    const bool isSpoiled = isNextSpoiled();
    if (!isSpoiled && !announce(bytes, frame.number)) return;
    result_.read.add(frame.length);
    hand(std::move(bytes), isSpoiled);
    isSpoiled ? void(++result_.spoiled) : window_.sent(queueWords(size));
    result_.sent.add(size);
    sentFrames_.store(result_.sent.frames, std::memory_order_relaxed);
    if (isInTurn()) receiveAll();
}

bool Replay::announce(const QByteArray& bytes, std::uint64_t number) {
    if (!verifying_) return true;
    for (const SentFrame sent{number, bytes}; !receiver_.expect(sent);) {
        if (isEnding()) return false;
        std::this_thread::sleep_for(observePause);
    }
    return true;
}

bool Replay::isNextSpoiled() const noexcept {
    return spoiledEvery_ != 0 && (result_.sent.frames + 1) % spoiledEvery_ == 0;
}

void Replay::hand(QByteArray&& bytes, bool isSpoiled) {
    auto frame = boost::make_shared<EthernetFrame>(std::move(bytes));
    if (isSpoiled) frame->appendFcs(wrongInEveryBit);
    sender_.addToSendQueue(std::move(frame));
    sender_.transmitSendQueue();
    lastSend_ = SendWindow::Clock::now();
}

bool Replay::awaitTurn(const CapturedFrame& frame, std::uint64_t words) {
    if (!paced_) {
        awaitRoom(words);
        return !isEnding();
    }
    const auto late = waitUntil(begin_ + schedule_.next(frame.recordedAt));
    if (late) result_.latest = std::max(result_.latest, *late);
    return late.has_value();
}

void Replay::awaitRoom(std::uint64_t words) {
    if (!window_.holds()) observe(); // a frame that comes back closes the window again
    if (window_.hasRoom(words)) return;
    for (observe(); !window_.isHalfEmpty() && !isEnding(); observe())
        std::this_thread::sleep_for(observePause);
}

void Replay::awaitReturn() {
    const auto canReturn = [this] {
        return window_.framesInFlight() > 0 && !receiver_.failed() && !ServerWatch::hasLostServer();
    };
    for (observe(); canReturn(); observe()) std::this_thread::sleep_for(observePause);
}

// The time between this frame and the previous one in the capture, and at least the frame's time on the wire.
void Replay::passTime(const CapturedFrame& frame) {
    const auto recorded = frame.recordedAt - recordedBefore_;
    const std::chrono::nanoseconds onWire{wireNanoseconds * (frame.length + wireOverheadBytes)};
    const bool isFirst = result_.sent.frames == 0;
    recordedBefore_ = frame.recordedAt;
    hooks_.pass(std::chrono::ceil<std::chrono::microseconds>(
        isFirst ? onWire : std::clamp(recorded, onWire, std::chrono::nanoseconds(longestGap))));
}

// At least once, because an empty receive may have a reason that the plug-in counts.
void Replay::receiveAll() {
    int polls = 0;
    do receiver_.poll();
    while (hooks_.hasMore() && ++polls < mostPolls && endRequested() == 0);
    observe();
}

void Replay::observe() {
    window_.observe(receiver_.returned(), SendWindow::Clock::now());
}

} // namespace orvo::host
