// Polling of the transmitter.
#include "gige/Transmitter.h"

#include "hal/OrvoHal.h"

namespace orvo::core::zume {

TransmitterReading awaitTransmitter(void* device, std::uint32_t txTransferActive,
                                    std::chrono::milliseconds limit) {
    using Clock = std::chrono::steady_clock;
    std::uint64_t value = 1;
    Clock::time_point deadline{}; // the clock is not looked at for an idle transmitter
    for (;;) {
        OHalRegisterRead(device, txTransferActive, &value); // failed: keeps the value, which is not 0
        if ((value & 0xFF) == 0xFF) return {TransmitterState::Unexpected, value};
        if (value == 0) return {TransmitterState::Idle, value};
        const auto now = Clock::now();
        if (deadline == Clock::time_point{}) deadline = now + limit;
        if (now >= deadline) return {TransmitterState::Late, value};
    }
}

} // namespace orvo::core::zume
