// One frame from the receive queue to the framework.
#include "gige/OrvoGbePhysicalNetworkInterfaceD.h"
#include "gige/Transmission.h"
#include "hal/OrvoHal.h"

#include <boost/make_shared.hpp>

#include <unistd.h>

#include <atomic>
#include <memory>

namespace orvo::core::zume {

using tools::logging::Hex;

bool c_MONITOR_CRC_ERRORS = false;

namespace {

constexpr std::uint32_t readLimitMs = 100;
constexpr unsigned readErrorPauseUs = 100'000;

bool isCrcWatchOn() {
    // The host sets it whenever it likes; relaxed, since nothing else depends on it.
    return std::atomic_ref(c_MONITOR_CRC_ERRORS).load(std::memory_order_relaxed);
}

} // namespace

boost::shared_ptr<EthernetFrame> OrvoGbePhysicalNetworkInterface::receive(bool* received) {
    boost::shared_ptr<EthernetFrame> frame;
    auto reading = QueueReading::Nothing;
    bool released = false;
    if (const auto pass = d->gate.enterReceive()) {
        watchCrcErrors();
        reading = receiveFrame(frame);
    } else {
        released = true;
    }
    if (released) d->gate.awaitOpen(std::chrono::milliseconds{readLimitMs});
    if (reading == QueueReading::Failed) usleep(readErrorPauseUs);
    if (received) *received = frame != nullptr;
    return frame;
}

void OrvoGbePhysicalNetworkInterface::watchCrcErrors() {
    if (!isCrcWatchOn() || d->regGigeRecvErrCnt == 0) return;
    std::uint64_t count = 0; // stays 0, and counts as a reading of 0, when the read fails
    OHalRegisterRead(d->device, d->regGigeRecvErrCnt, &count);
    const auto growth = static_cast<std::int64_t>(count - d->lastRecvErrCnt);
    if (growth == 0) return;
    if (auto text = warning()) text << "': Detected " << growth << " new CRC packet errors";
    d->lastRecvErrCnt = count;
}

OrvoGbePhysicalNetworkInterface::QueueReading
OrvoGbePhysicalNetworkInterface::receiveFrame(boost::shared_ptr<EthernetFrame>& frame) {
    std::uint32_t frameBytes = 0;
    if (const auto reading = readSizeWord(frameBytes); reading != QueueReading::Delivered) return reading;
    const std::uint32_t requestedBytes = 2 * frameBytes; // wraps for sizes that are refused anyway
    if (frameBytes > maxTransmissionBytes) {
        rejectSize(requestedBytes, 0);
        return QueueReading::Nothing;
    }
    const auto words = std::make_unique<std::uint32_t[]>((requestedBytes + 3) / 4);
    int deliveredBytes = 0;
    if (const auto reading = readFrameWords(words.get(), requestedBytes, deliveredBytes);
        reading != QueueReading::Delivered)
        return reading;
    switch (checkTransmission(words.get(), requestedBytes, deliveredBytes)) {
    case TransmissionVerdict::Good:
        frame = makeFrame(words.get(), static_cast<std::uint32_t>(deliveredBytes));
        break;
    case TransmissionVerdict::NoEnd:
        rejectEnd(lastWord(words.get(), deliveredBytes), requestedBytes, deliveredBytes);
        break;
    case TransmissionVerdict::WrongSize:
        rejectSize(requestedBytes, deliveredBytes);
        break;
    }
    return QueueReading::Delivered;
}

OrvoGbePhysicalNetworkInterface::QueueReading
OrvoGbePhysicalNetworkInterface::readSizeWord(std::uint32_t& frameBytes) {
    const int result =
        OHalDataQueueReadBufferLong(d->device, d->portId, &frameBytes, sizeof frameBytes, readLimitMs);
    if (result < 0) return noteFailedRead(result);
    d->recvErrorReported = false;
    if (frameBytes != 0) {
        d->zeroSizeReported = false;
        return QueueReading::Delivered;
    }
    if (!d->zeroSizeReported)
        if (auto text = warning())
            text
                << "': transmission size of zero received from OHalDataQueueReadBufferLong(...) [lost words: "
                << lostWords() << "]!";
    d->zeroSizeReported = true;
    d->zeroSizeTransmissions += 1;
    return QueueReading::Nothing;
}

OrvoGbePhysicalNetworkInterface::QueueReading
OrvoGbePhysicalNetworkInterface::readFrameWords(std::uint32_t* words, std::uint32_t requestedBytes,
                                                int& deliveredBytes) {
    deliveredBytes = OHalDataQueueReadBufferLong(d->device, d->portId, words, requestedBytes, readLimitMs);
    if (deliveredBytes < 0) return noteFailedRead(deliveredBytes);
    d->recvErrorReported = false;
    return QueueReading::Delivered;
}

OrvoGbePhysicalNetworkInterface::QueueReading OrvoGbePhysicalNetworkInterface::noteFailedRead(int result) {
    if (result == HalTimeout) return QueueReading::Nothing;
    if (!d->recvErrorReported)
        if (auto text = warning())
            text << "': Error(s) in OHalDataQueueReadBufferLong(...) (result = " << result << ")";
    d->recvErrorReported = true;
    d->uiqReadErrors += 1;
    return QueueReading::Failed;
}

void OrvoGbePhysicalNetworkInterface::rejectEnd(std::uint32_t word, std::uint32_t requestedBytes,
                                                int deliveredBytes) {
    if (auto text = warning())
        text << "': end of transmission validity check failed! [lost words: " << lostWords() << "]";
    if (auto text = detail())
        text << "': ... EOT: " << Hex{word} << " - TRANSMISSION_SIZE: " << requestedBytes
             << " - RESULT: " << deliveredBytes << "\n";
    d->invalidEots += 1;
}

void OrvoGbePhysicalNetworkInterface::rejectSize(std::uint32_t requestedBytes, int deliveredBytes) {
    if (auto text = warning())
        text << "': transmission size validity check failed! (expected: " << requestedBytes
             << ", received: " << deliveredBytes << ") [lost words: " << lostWords() << "]";
    d->invalidTransmissionSizes += 1;
}

boost::shared_ptr<EthernetFrame> OrvoGbePhysicalNetworkInterface::makeFrame(const std::uint32_t* words,
                                                                            std::uint32_t deliveredBytes) {
    // A byte without a word of its own, at the end of an odd length, reads 0.
    const std::uint32_t frameBytes = deliveredBytes / 2;
    QByteArray bytes(static_cast<int>(frameBytes), '\0');
    unpackFrame(words, deliveredBytes / 4, reinterpret_cast<unsigned char*>(bytes.data()));
    d->receivedFrames += 1;
    d->receivedBytes += frameBytes;
    return boost::make_shared<EthernetFrame>(bytes);
}

int OrvoGbePhysicalNetworkInterface::lostWords() {
    return OHalDataQueueGetNrOfLostWords(d->device, d->portId);
}

} // namespace orvo::core::zume
