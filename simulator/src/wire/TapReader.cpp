// SPDX-License-Identifier: MIT
#include "wire/TapReader.h"

#include <algorithm>
#include <cstring>
#include <thread>

namespace orvo::sim {

namespace {

// Between two looks at an empty ring. The board wakes nobody, so that listening costs it no system call.
constexpr std::chrono::microseconds shortestNap{200};
constexpr std::chrono::microseconds longestNap{10'000};

/// What is wrong with a frame on the wire, whatever became of it.
unsigned errorsOf(WireBytes frame, std::size_t wireBytes) noexcept {
    unsigned errors = 0;
    if (frame.size() == wireBytes && !hasRightFcs(frame)) errors |= OrvoSimFrameWrongFcs;
    if (wireBytes < minWireBytes) errors |= OrvoSimFrameTooShort;
    if (wireBytes > maxWireBytes) errors |= OrvoSimFrameTooLong;
    return errors;
}

} // namespace

const TapSlot* TapReader::next() const noexcept {
    const TapSlot& slot = ring_.slot[position_.frames % TapRing::slots];
    return slot.number.load(std::memory_order_acquire) == position_.frames + 1 ? &slot : nullptr;
}

/// Copies the frame to `frame_`, sealed where it is whole; returns its bytes there.
std::size_t TapReader::copyOut(const TapSlot& slot) noexcept {
    const std::size_t kept = std::min<std::size_t>(slot.keptBytes, TapRing::mostKeptBytes);
    const std::size_t at = slot.firstUnit % TapRing::units * TapRing::unitBytes;
    const std::size_t untilWrap = std::min(kept, ring_.content.size() - at);
    std::memcpy(frame_.data(), ring_.content.data() + at, untilWrap);
    std::memcpy(frame_.data() + untilWrap, ring_.content.data(), kept - untilWrap);
    return slot.isSealed == 0 && kept == slot.bytes ? sealFrame(frame_.data(), kept) : kept;
}

bool TapReader::take(OrvoSimTapFrame& frame, std::span<std::uint8_t> room) noexcept {
    const TapSlot* const slot = next();
    if (!slot) return false;
    const std::size_t bytes = copyOut(*slot);
    const std::size_t missing = slot->bytes > slot->keptBytes ? slot->bytes - slot->keptBytes : 0;
    const std::size_t wireBytes = bytes + missing + (missing != 0 && slot->isSealed == 0 ? fcsBytes : 0);
    const std::size_t copied = std::min(bytes, room.size());
    std::copy_n(frame_.begin(), copied, room.begin());
    frame = {static_cast<std::uint64_t>(slot->time), static_cast<std::uint32_t>(wireBytes),
             static_cast<std::uint32_t>(copied),     slot->direction == TapDirection::Sent ? 1 : 0,
             static_cast<OrvoSimFate>(slot->fate),   errorsOf(WireBytes(frame_).first(bytes), wireBytes)};
    position_ = {position_.frames + 1, position_.units + TapRing::unitsOf(slot->keptBytes)};
    ring_.taken.store(position_, std::memory_order_release);
    return true;
}

/// Not by usleep: listening must not move a clock that follows the program's sleeps.
bool TapReader::await(std::chrono::milliseconds limit, const std::function<bool()>& isOver) {
    const auto end = std::chrono::steady_clock::now() + limit;
    for (auto nap = shortestNap; !next(); nap = std::min(2 * nap, longestNap)) {
        if (std::chrono::steady_clock::now() >= end) return false;
        if (nap == longestNap && isOver()) return next() != nullptr;
        std::this_thread::sleep_for(nap);
    }
    return true;
}

} // namespace orvo::sim
