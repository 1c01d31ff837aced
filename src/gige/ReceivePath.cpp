// SPDX-License-Identifier: MIT
// One frame from the receive queue to the framework.
#include "gige/OrvoGbePhysicalNetworkInterfaceD.h"
#include "gige/ReceivedWords.h"
#include "gige/RegisterAccess.h"
#include "hal/OrvoHal.h"
#include "platform/WholeSleep.h"

#include <boost/make_shared.hpp>

#include <atomic>
#include <utility>

namespace orvo::core::zume {

using templates::platform::sleepWhole;
using tools::logging::Hex;

bool c_MONITOR_CRC_ERRORS = false;

namespace {

bool isCrcWatchOn() {
    // The host program may set it at any time; relaxed, since nothing else depends on it.
    return std::atomic_ref(c_MONITOR_CRC_ERRORS).load(std::memory_order_relaxed);
}

} // namespace

/// Result of one receive call. Determined inside the gate and logged outside it, so that a slow log blocks
/// nobody.
struct OrvoGbePhysicalNetworkInterface::Reception {
    enum class Outcome { Nothing, Frame, ReadError, ZeroSize, NoEnd, WrongSize };

    Outcome outcome = Outcome::Nothing;
    std::uint32_t requestedBytes = 0; // of the read that the outcome is about
    int result = 0;                   // of that read
    int lostWords = 0;                // asked for only where a message needs it
    std::uint32_t* words = nullptr;   // of the transmission, in the word buffer
};

boost::shared_ptr<EthernetFrame> OrvoGbePhysicalNetworkInterface::receive(bool* received) {
    watchCrcErrors();
    Reception reception;
    if (!readQueue(reception)) d->gate.awaitOpen(std::chrono::milliseconds{readLimitMs});
    auto frame = conclude(reception);
    if (received) *received = frame != nullptr;
    return frame;
}

void OrvoGbePhysicalNetworkInterface::watchCrcErrors() {
    if (!isCrcWatchOn()) return;
    const auto count = readErrorCount();
    const auto growth = static_cast<std::int64_t>(count.value_or(d->lastRecvErrCnt) - d->lastRecvErrCnt);
    if (growth == 0) return;
    if (auto text = warning()) text << "': Detected " << growth << " new CRC packet errors";
    d->lastRecvErrCnt = *count;
}

std::optional<std::uint64_t> OrvoGbePhysicalNetworkInterface::readErrorCount() {
    const auto pass = d->gate.enterReceive();
    if (!pass || d->regGigeRecvErrCnt == 0) return std::nullopt;
    return readOr(d->device, d->regGigeRecvErrCnt, 0); // a failed read counts as 0
}

bool OrvoGbePhysicalNetworkInterface::readQueue(Reception& reception) {
    const auto pass = d->gate.enterReceive();
    if (!pass) return false;
    readTransmission(reception);
    if (needsLostWords(reception)) reception.lostWords = lostWords();
    return true;
}

void OrvoGbePhysicalNetworkInterface::readTransmission(Reception& reception) {
    using enum Reception::Outcome;
    std::uint32_t frameBytes = 0;
    if (!readWords(reception, &frameBytes, sizeof frameBytes)) return;
    if (frameBytes != 0) d->zeroSizeReported = false;
    if (reception.result != 0 && reception.result != static_cast<int>(sizeof frameBytes)) {
        reception.outcome = WrongSize; // part of a word, or more than was asked for
    } else if (frameBytes == 0) {
        reception.outcome = ZeroSize;
    } else if (frameBytes > maxTransmissionBytes) {
        reception.outcome = WrongSize;
        reception.requestedBytes = 2 * frameBytes; // wraps, as the size of a read would
        reception.result = 0;
    } else {
        readFrameWords(reception, 2 * frameBytes);
    }
}

void OrvoGbePhysicalNetworkInterface::readFrameWords(Reception& reception, std::uint32_t requestedBytes) {
    using enum Reception::Outcome;
    std::uint32_t* const words = d->receivedWords.zeroed(requestedBytes);
    reception.words = words;
    if (!readWords(reception, words, requestedBytes)) return;
    switch (checkTransmission(words, requestedBytes, reception.result)) {
    case TransmissionVerdict::Good:
        reception.outcome = Frame;
        break;
    case TransmissionVerdict::NoEnd:
        reception.outcome = NoEnd;
        break;
    case TransmissionVerdict::WrongSize:
        reception.outcome = WrongSize;
        break;
    }
}

bool OrvoGbePhysicalNetworkInterface::readWords(Reception& reception, std::uint32_t* words,
                                                std::uint32_t requestedBytes) {
    using enum Reception::Outcome;
    reception.requestedBytes = requestedBytes;
    reception.result = OHalDataQueueReadBufferLong(d->device, d->portId, words, requestedBytes, readLimitMs);
    if (reception.result < 0) {
        reception.outcome = reception.result == HalTimeout ? Nothing : ReadError;
        return false;
    }
    d->recvErrorReported = false;
    return true;
}

bool OrvoGbePhysicalNetworkInterface::needsLostWords(const Reception& reception) {
    using enum Reception::Outcome;
    if (reception.outcome == ZeroSize && d->zeroSizeReported) return false;
    if (reception.outcome != ZeroSize && reception.outcome != NoEnd && reception.outcome != WrongSize)
        return false;
    // Read, not fetched: inside the gate no dispatcher is asked. What is unknown may pass.
    auto* const known = std::atomic_ref(logger_).load(std::memory_order_relaxed);
    return !known || known->isEnabled(static_cast<std::uint32_t>(tools::logging::LogLevel::Warning));
}

boost::shared_ptr<EthernetFrame> OrvoGbePhysicalNetworkInterface::conclude(const Reception& reception) {
    switch (reception.outcome) {
    case Reception::Outcome::Nothing:
        break;
    case Reception::Outcome::Frame:
        return makeFrame(reception.words, static_cast<std::uint32_t>(reception.result));
    case Reception::Outcome::ReadError:
        noteReadError(reception);
        break;
    case Reception::Outcome::ZeroSize:
        noteZeroSize(reception);
        break;
    case Reception::Outcome::NoEnd:
        noteMissingEnd(reception);
        break;
    case Reception::Outcome::WrongSize:
        noteWrongSize(reception);
        break;
    }
    return nullptr;
}

void OrvoGbePhysicalNetworkInterface::noteReadError(const Reception& reception) {
    if (!std::exchange(d->recvErrorReported, true))
        if (auto text = warning())
            text << "': Error(s) in OHalDataQueueReadBufferLong(...) (result = " << reception.result << ")";
    d->uiqReadErrors += 1;
    sleepWhole(readErrorPauseUs);
}

void OrvoGbePhysicalNetworkInterface::noteZeroSize(const Reception& reception) {
    if (!std::exchange(d->zeroSizeReported, true))
        if (auto text = warning())
            text
                << "': transmission size of zero received from OHalDataQueueReadBufferLong(...) [lost words: "
                << reception.lostWords << "]!";
    d->zeroSizeTransmissions += 1;
}

void OrvoGbePhysicalNetworkInterface::noteMissingEnd(const Reception& reception) {
    if (auto text = warning())
        text << "': end of transmission validity check failed! [lost words: " << reception.lostWords << "]";
    if (auto text = detail())
        text << "': ... EOT: " << Hex{lastWord(reception.words, reception.result)}
             << " - TRANSMISSION_SIZE: " << reception.requestedBytes << " - RESULT: " << reception.result
             << "\n";
    d->invalidEots += 1;
}

void OrvoGbePhysicalNetworkInterface::noteWrongSize(const Reception& reception) {
    if (auto text = warning())
        text << "': transmission size validity check failed! (expected: " << reception.requestedBytes
             << ", received: " << reception.result << ") [lost words: " << reception.lostWords << "]";
    d->invalidTransmissionSizes += 1;
}

boost::shared_ptr<EthernetFrame> OrvoGbePhysicalNetworkInterface::makeFrame(std::uint32_t* words,
                                                                            std::uint32_t deliveredBytes) {
    const std::uint32_t frameBytes = deliveredBytes / 2;
    QByteArray bytes(static_cast<int>(frameBytes), Qt::Uninitialized);
    auto* const data = reinterpret_cast<unsigned char*>(bytes.data());
    takeFrame(words, deliveredBytes / 4, data);
    d->receivedWords.noteTaken(deliveredBytes / 4);
    if (frameBytes % 2 != 0) data[frameBytes - 1] = 0; // no word holds the last byte of an odd length
    d->receivedFrames += 1;
    d->receivedBytes += frameBytes;
    return boost::make_shared<EthernetFrame>(bytes);
}

int OrvoGbePhysicalNetworkInterface::lostWords() {
    return OHalDataQueueGetNrOfLostWords(d->device, d->portId);
}

} // namespace orvo::core::zume
