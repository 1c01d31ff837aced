// SPDX-License-Identifier: MIT
#include "gige/Transmitter.h"

namespace orvo::core::zume {

TransmitterReading awaitBusyTransmitter(void* device, std::uint32_t txTransferActive, std::uint64_t value,
                                        std::chrono::milliseconds limit) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    for (bool isLate = false;;) {
        if ((value & 0xFF) == 0xFF) return {TransmitterState::Unexpected, value};
        if (value == 0) return {TransmitterState::Idle, value};
        if (isLate) return {TransmitterState::Late, value};
        isLate = std::chrono::steady_clock::now() >= deadline; // before the read, which may be the last
        OHalRegisterRead(device, txTransferActive, &value);    // failed: keeps the value, which is not 0
    }
}

} // namespace orvo::core::zume
