// SPDX-License-Identifier: MIT
#pragma once

#include "hal/OrvoHal.h"

#include <chrono>
#include <cstdint>

namespace orvo::core::zume {

enum class TransmitterState { Idle, Unexpected, Late };

struct TransmitterReading {
    TransmitterState state;
    std::uint64_t value; // what the register read last
};

/// The rest of `awaitTransmitter` after a first reading of `value`, which was not 0.
TransmitterReading awaitBusyTransmitter(void* device, std::uint32_t txTransferActive, std::uint64_t value,
                                        std::chrono::milliseconds limit);

/// Waits until the port's transmitter can take a frame. One lasts at most 12.3 us on the wire, so this polls.
/// Idle, Unexpected (the low byte read 0xFF: the board does not answer) or Late (still busy after `limit`);
/// writes nothing to the board. A failed read counts as busy. Threads: the sender's only.
inline TransmitterReading awaitTransmitter(void* device, std::uint32_t txTransferActive,
                                           std::chrono::milliseconds limit) {
    std::uint64_t value = 1;
    OHalRegisterRead(device, txTransferActive, &value);
    if (value == 0) return {TransmitterState::Idle, value}; // the usual case
    return awaitBusyTransmitter(device, txTransferActive, value, limit);
}

} // namespace orvo::core::zume
