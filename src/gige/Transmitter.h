// The port's transmitter, as its registers show it.
#pragma once

#include <chrono>
#include <cstdint>

namespace orvo::core::zume {

enum class TransmitterState { Idle, Unexpected, Late };

struct TransmitterReading {
    TransmitterState state;
    std::uint64_t value; // what the register read last
};

/// Waits until the port's transmitter can take a frame. One lasts at most 12.3 us on the wire, so this polls.
/// Idle, Unexpected (the low byte read 0xFF: the board does not answer) or Late (still busy after `limit`);
/// writes nothing to the board. A failed read counts as busy. Threads: the sender's only.
TransmitterReading awaitTransmitter(void* device, std::uint32_t txTransferActive,
                                    std::chrono::milliseconds limit);

} // namespace orvo::core::zume
