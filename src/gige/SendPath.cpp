// SPDX-License-Identifier: MIT
// One frame from the framework into the port's transmit buffer, once the transmitter is idle.
#include "gige/OrvoGbePhysicalNetworkInterfaceD.h"
#include "hal/OrvoHal.h"
#include "platform/WholeSleep.h"

#include <algorithm>
#include <bit>
#include <chrono>
#include <cstring>
#include <limits>

namespace orvo::core::zume {

using templates::platform::sleepWhole;
using tools::logging::Hex;

enum class TransmitterState { Idle, Unexpected, Late };

struct TransmitterReading {
    TransmitterState state;
    std::uint64_t value; // what the register read last
};

namespace {

constexpr std::size_t maxFrameBytes = 1518; // frame check sequence included
constexpr std::size_t fcsBytes = 4;
constexpr auto transmitterLimit = std::chrono::milliseconds{1000};
constexpr auto turnLimit = 2 * transmitterLimit; // the sender inside gives up after one

static_assert(std::endian::native == std::endian::little,
              "a unit's first byte must be its low one in memory");

/// Waits until the port's transmitter can take a frame. One lasts at most 12.3 us on the wire, so this polls.
/// Idle, Unexpected (the low byte read 0xFF: the board does not answer) or Late (still busy after the limit);
/// writes nothing to the board. A failed read counts as busy. Threads: the sender's only.
TransmitterReading awaitTransmitter(void* device, std::uint32_t txTransferActive) {
    std::uint64_t value = 1;
    OHalRegisterRead(device, txTransferActive, &value);
    if (value == 0) return {TransmitterState::Idle, value}; // the usual case, which needs no clock
    const auto deadline = std::chrono::steady_clock::now() + transmitterLimit;
    for (bool isLate = false;;) {
        if ((value & 0xFF) == 0xFF) return {TransmitterState::Unexpected, value};
        if (value == 0) return {TransmitterState::Idle, value};
        if (isLate) return {TransmitterState::Late, value};
        isLate = std::chrono::steady_clock::now() >= deadline; // before the read, which may be the last
        OHalRegisterRead(device, txTransferActive, &value);    // failed: keeps the value, which is not 0
    }
}

/// In several sleeps where the microseconds do not fit the 32 bits that a sleep takes.
void waitBeforeSending(std::uint32_t waitMs) {
    constexpr std::uint32_t longestMs = std::numeric_limits<useconds_t>::max() / 1000;
    for (; waitMs > longestMs; waitMs -= longestMs) sleepWhole(longestMs * 1000);
    if (waitMs != 0) sleepWhole(waitMs * 1000);
}

/// The whole 16-bit units of the frame, between the writes that begin and end it. Results are not examined:
/// the board's counters show what it refuses, and the frame is lost either way.
void writeFrame(const PortState& d, const unsigned char* bytes, std::size_t unitCount) {
    const auto write = hal::boundRegisterWrite();
    void* const device = d.device;
    const std::uint32_t writeData = d.regGigeWriteData;
    write(device, d.regGigeBufferReset, 0);
    // A write takes three branches: call, return and the loop's own, most of which unrolling saves.
#pragma GCC unroll 4
    for (std::size_t k = 0; k < unitCount; ++k) {
        std::uint16_t unit = 0;
        std::memcpy(&unit, bytes + 2 * k, sizeof unit);
        write(device, writeData, unit);
    }
    write(device, d.regGigeWriteComplete, 0);
}

} // namespace

void OrvoGbePhysicalNetworkInterface::addToSendQueue(boost::shared_ptr<EthernetFrame> frame) {
    if (d->customChecksumEnabled && !frame->hasFcsAppended()) frame->appendFcs(0);
    const auto frameBytes = static_cast<std::size_t>(std::max(0, frame->length()));
    if (frameBytes > maxFrameBytes) {
        if (auto text = warning())
            text << "': Packet is too large (packet size: " << frameBytes << ", allowed size: 1518)";
        return;
    }
    waitBeforeSending(d->preSendWaitTime);
    sendFrame(frame->data(), frameBytes);
}

void OrvoGbePhysicalNetworkInterface::sendFrame(const QByteArray& bytes, std::size_t frameBytes) {
    TransmitterReading transmitter{TransmitterState::Idle, 0};
    auto answer = DeviceGate::Answer::Inside;
    if (const auto turn = d->gate.enterSend(turnLimit)) {
        if (d->regGigeTxTransferActive != 0)
            transmitter = awaitTransmitter(d->device, d->regGigeTxTransferActive);
        if (transmitter.state == TransmitterState::Idle) {
            const auto available = std::min(frameBytes, static_cast<std::size_t>(bytes.size()));
            writeFrame(*d, reinterpret_cast<const unsigned char*>(bytes.constData()), available / 2);
            d->sentFrames += 1;
            d->sentBytes += frameBytes + fcsBytes;
        }
    } else {
        answer = turn.answer();
    }
    if (answer != DeviceGate::Answer::Inside)
        reportNoTurn(answer == DeviceGate::Answer::Closed, frameBytes);
    else if (transmitter.state != TransmitterState::Idle)
        reportTransmitter(transmitter);
}

void OrvoGbePhysicalNetworkInterface::reportNoTurn(bool released, std::size_t frameBytes) {
    if (auto text = warning())
        text << "': Packet is dropped, the device is "
             << (released ? "released" : "kept busy by other senders") << " (packet size: " << frameBytes
             << ")";
}

void OrvoGbePhysicalNetworkInterface::reportTransmitter(const TransmitterReading& transmitter) {
    if (auto text = warning()) {
        if (transmitter.state == TransmitterState::Unexpected)
            text << "': Unexpected value in OHalRegisterRead(...) (result = " << Hex{transmitter.value}
                 << ")";
        else
            text << "': Transmitter still busy after " << transmitterLimit.count()
                 << " milliseconds, packet is dropped (result = " << Hex{transmitter.value} << ")";
    }
}

void OrvoGbePhysicalNetworkInterface::transmitSendQueue() {}

bool OrvoGbePhysicalNetworkInterface::supportsCustomChecksum() const {
    return d->regGigeTxDisableCrcGeneration != 0;
}

bool OrvoGbePhysicalNetworkInterface::isCustomChecksumEnabled() const {
    return d->customChecksumEnabled;
}

void OrvoGbePhysicalNetworkInterface::enableCustomChecksum(bool enable) {
    const auto pass = d->gate.enterControl();
    if (!pass) return; // the device is released: neither register nor flag change, so that they agree
    if (d->regGigeTxDisableCrcGeneration == 0) return; // inside: a reopening may find another firmware
    const std::lock_guard guard(d->switchingChecksum);
    OHalRegisterWrite(d->device, d->regGigeTxDisableCrcGeneration, enable ? 1 : 0);
    d->customChecksumEnabled = enable;
}

} // namespace orvo::core::zume
