// SPDX-License-Identifier: MIT
// The lean receive and send.
#include "Floors.h"

#include "hal/OrvoHal.h"
#include "platform/SeveralProcessors.h"

#include <boost/make_shared.hpp>

#include <cstring>
#include <memory>

namespace orvo::bench {

using core::zume::EthernetFrame;

namespace {

const auto readEntry = [] { return m_POHalDataQueueReadBufferLong.load(std::memory_order_relaxed); };

std::uint32_t readSize() {
    std::uint32_t frameBytes = 0;
    readEntry()(nullptr, 0, &frameBytes, sizeof frameBytes, 100);
    return frameBytes;
}

ORVO_FOR_SEVERAL_PROCESSORS
void packWords(const std::uint32_t* words, std::size_t wordCount, unsigned char* frame) {
    for (std::size_t k = 0; k < wordCount; ++k) {
        const auto unit = static_cast<std::uint16_t>(words[k]);
        std::memcpy(frame + 2 * k, &unit, sizeof unit);
    }
}

boost::shared_ptr<EthernetFrame> readFrame(std::uint32_t* words, std::uint32_t frameBytes) {
    const int delivered = readEntry()(nullptr, 0, words, std::uint64_t{2} * frameBytes, 100);
    QByteArray bytes(delivered / 2, Qt::Uninitialized);
    packWords(words, static_cast<std::size_t>(delivered) / 4, reinterpret_cast<unsigned char*>(bytes.data()));
    return boost::make_shared<EthernetFrame>(bytes);
}

} // namespace

boost::shared_ptr<EthernetFrame> leanReceive() {
    const std::uint32_t frameBytes = readSize();
    const auto words = std::make_unique_for_overwrite<std::uint32_t[]>(frameBytes / 2);
    return readFrame(words.get(), frameBytes);
}

boost::shared_ptr<EthernetFrame> leanReceiveWithKeptBuffer() {
    static std::uint32_t words[1024];
    return readFrame(words, readSize());
}

void leanSend(const unsigned char* bytes, std::size_t frameBytes) {
    for (std::size_t k = 0; k < frameBytes / 2; ++k)
        m_POHalRegisterWrite.load(std::memory_order_relaxed)(nullptr, 8,
                                                             bytes[2 * k] + 256U * bytes[2 * k + 1]);
}

} // namespace orvo::bench
