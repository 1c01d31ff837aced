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
    if (units == 0 || units > bufferBytes / 2 || !gate_.canTransmit() || line_.isBusy()) return false;
    Wire* const wire = wire_.load(std::memory_order_seq_cst);
    if (!wire) return false;
    const bool addsFcs = crcGeneration();
    const WireBytes frame = padded(2 * units, addsFcs ? minFrameBytes : minWireBytes);
    if (!(addsFcs ? wire->transmitUnsealed(frame) : wire->transmit(frame))) return false;
    if (line_.hasRate()) line_.occupy(frame.size() + (addsFcs ? fcsBytes : 0));
    sentFrames_.add(1);
    sentBytes_.add(frame.size() + (addsFcs ? fcsBytes : 0));
    return true;
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
