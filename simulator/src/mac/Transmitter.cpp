// SPDX-License-Identifier: MIT
// From the transmit buffer onto the wire.
#include "mac/Transmitter.h"

#include <algorithm>
#include <thread>

namespace orvo::sim {

void Transmitter::transmit() noexcept {
    writesBefore_.add(1);
    auto turn = turns_.load(std::memory_order_relaxed);
    // Sequentially consistent with setWire: either this thread sees the new wire, or setWire sees this turn.
    const bool mine =
        (turn & 1) == 0 && turns_.compare_exchange_strong(turn, turn + 1, std::memory_order_seq_cst);
    if (!mine) {
        unsentFrames_.add(1); // another thread is sending
        return;
    }
    if (!send()) unsentFrames_.add(1);
    turns_.store(turn + 2, std::memory_order_release);
}

bool Transmitter::send() noexcept {
    const auto units = units_.load(std::memory_order_relaxed);
    if (units == 0) return false;
    const bool addsFcs = crcGeneration();
    const auto frame = padded(2 * std::min(units, bufferBytes / 2), addsFcs ? minFrameBytes : minWireBytes);
    TapRecord record(tap_, TapDirection::Sent, frame, std::max(frame.size(), 2 * units), !addsFcs);
    const bool isWhole = units <= bufferBytes / 2;
    const bool canPost = addsFcs && !record.isOpen() && !line_.hasRate(); // a record waits for the fate
    return record.end(isWhole ? sendFrame(frame, addsFcs, canPost) : OrvoSimBufferExceeded) == OrvoSimPassed;
}

OrvoSimFate Transmitter::sendFrame(WireBytes frame, bool addsFcs, bool canPost) noexcept {
    if (!gate_.canTransmit()) return gate_.isTransmitterOn() ? OrvoSimLinkDown : OrvoSimTransmitterOff;
    if (line_.isBusy()) return OrvoSimTransmitterBusy;
    Wire* const wire = wire_.load(std::memory_order_seq_cst);
    if (!wire) return OrvoSimLinkDown;
    if (canPost && wire->post(frame)) return OrvoSimPassed; // counted by the wire
    if (!(addsFcs ? wire->transmitUnsealed(frame) : wire->transmit(frame))) return OrvoSimNotTaken;
    const std::size_t wireBytes = frame.size() + (addsFcs ? fcsBytes : 0);
    if (line_.hasRate()) line_.occupy(wireBytes);
    sentFrames_.add(1);
    sentBytes_.add(wireBytes);
    return OrvoSimPassed;
}

/// The MAC pads every frame. Without CRC generation the padding follows the check sequence that the host
/// appended, which makes it wrong.
WireBytes Transmitter::padded(std::size_t bytes, std::size_t leastBytes) noexcept {
    if (bytes < leastBytes) std::fill(buffer_.data() + bytes, buffer_.data() + leastBytes, std::uint8_t{0});
    return WireBytes(buffer_).first(std::max(bytes, leastBytes));
}

void Transmitter::setWire(Wire* wire) noexcept {
    wire_.exchange(wire, std::memory_order_seq_cst);
    const auto turn = turns_.load(std::memory_order_seq_cst);
    if ((turn & 1) == 0) return;
    while (turns_.load(std::memory_order_acquire) == turn)
        std::this_thread::yield(); // at most one frame's delivery
}

} // namespace orvo::sim
