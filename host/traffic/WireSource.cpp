// SPDX-License-Identifier: MIT
#include "traffic/WireSource.h"

#include <sys/resource.h>

#include <utility>

namespace orvo::host {
namespace {

constexpr std::chrono::milliseconds patience{50}; // until the output is flushed, and the end is looked for
constexpr unsigned mostLeft = 1U << 16;           // as many as a tap holds: an end under traffic is an end
constexpr int lowestPriority = 19;

enum InterfaceNumber : std::uint32_t { ReceivedInterface, SentInterface };

std::uint32_t errorsOf(unsigned found) noexcept {
    return ((found & OrvoSimFrameWrongFcs) != 0 ? CheckSequenceError : 0U) |
           ((found & OrvoSimFrameTooShort) != 0 ? TooShortError : 0U) |
           ((found & OrvoSimFrameTooLong) != 0 ? TooLongError : 0U);
}

/// A sent frame with errors dies at the other end of the cable.
std::optional<DeathPlace> deathOf(const OrvoSimTapFrame& frame) noexcept {
    if (frame.fate == OrvoSimPassed)
        return frame.errors != 0 ? std::optional(DeathPlace::DamagedFrame) : std::nullopt;
    if (frame.sent != 0) return DeathPlace::NotSent;
    switch (frame.fate) {
    case OrvoSimQueueFull:
        return DeathPlace::ReceiveQueue;
    case OrvoSimLinkDown:
        return DeathPlace::NoLink;
    case OrvoSimReceiverOff:
        return DeathPlace::ReceiverOff;
    default:
        return DeathPlace::DamagedFrame;
    }
}

} // namespace

std::vector<CaptureOutput::Interface> WireSource::interfaces(PortAddress port) {
    const auto at = " at port " + std::to_string(port.port) + " of board " + std::to_string(port.board);
    return {{"port " + port.text() + " received", "frames that arrive" + at, 4},
            {"port " + port.text() + " sent", "frames that leave" + at, 4}};
}

/// The capturing thread gets the processor time that nobody else wants, so that the port loses none to it.
std::optional<OutputFrame> WireSource::next() {
    if (!std::exchange(hasYielded_, true)) setpriority(PRIO_PROCESS, 0, lowestPriority);
    return take(patience);
}

std::optional<OutputFrame> WireSource::left() {
    if (++leftFrames_ > mostLeft) return std::nullopt;
    return take(std::chrono::milliseconds(0));
}

std::optional<OutputFrame> WireSource::take(std::chrono::milliseconds limit) {
    OrvoSimTapFrame frame = {};
    if (!tap_.read(frame, bytes_.data(), bytes_.size(), limit)) return std::nullopt;
    count(frame);
    const char* const death = deathReason(frame.fate, frame.sent != 0);
    return OutputFrame{.bytes = Bytes(bytes_).first(frame.bytes),
                       .time = frame.nanoseconds,
                       .interface = frame.sent != 0 ? SentInterface : ReceivedInterface,
                       .wireBytes = frame.wireBytes,
                       .direction = frame.sent != 0 ? FrameDirection::Sent : FrameDirection::Received,
                       .fcsBytes = 4,
                       .errors = errorsOf(frame.errors),
                       .diedAt = deathOf(frame),
                       .comment = death ? death : ""};
}

void WireSource::count(const OrvoSimTapFrame& frame) {
    (frame.sent != 0 ? counts_.sent : counts_.received).add(frame.wireBytes);
    ++byFate_[frame.sent != 0].at(static_cast<std::size_t>(frame.fate));
}

void WireSource::end(FrameOutput& output) {
    counts_.missed = tap_.missed();
    output.noteMissed(ReceivedInterface, counts_.missed.received);
    output.noteMissed(SentInterface, counts_.missed.sent);
    for (const bool isSent : {false, true})
        for (std::size_t fate = OrvoSimPassed + 1; fate < byFate_[isSent].size(); ++fate)
            counts_.died.add(deathReason(static_cast<OrvoSimFate>(fate), isSent), byFate_[isSent][fate]);
}

} // namespace orvo::host
