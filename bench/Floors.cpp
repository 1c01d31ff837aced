// SPDX-License-Identifier: MIT
// The lean receive and send.
#include "Floors.h"

#include "hal/OrvoHal.h"
#include "platform/SeveralProcessors.h"

#include <boost/make_shared.hpp>

#include <cstring>

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

} // namespace

boost::shared_ptr<EthernetFrame> leanReceive() {
    static std::uint32_t words[1024];
    const std::uint32_t frameBytes = readSize();
    const int delivered = readEntry()(nullptr, 0, words, std::uint64_t{2} * frameBytes, 100);
    QByteArray bytes(delivered / 2, Qt::Uninitialized);
    packWords(words, static_cast<std::size_t>(delivered) / 4, reinterpret_cast<unsigned char*>(bytes.data()));
    return boost::make_shared<EthernetFrame>(bytes);
}

void leanSend(const unsigned char* bytes, std::size_t frameBytes) {
    const auto write = m_POHalRegisterWrite.load(std::memory_order_relaxed);
    std::uint64_t busy = 0;
    m_POHalRegisterRead.load(std::memory_order_relaxed)(nullptr, 8, &busy);
    write(nullptr, 8, 0);
#pragma GCC unroll 4
    for (std::size_t k = 0; k < frameBytes / 2; ++k) {
        std::uint16_t unit = 0;
        std::memcpy(&unit, bytes + 2 * k, sizeof unit);
        write(nullptr, 8, unit);
    }
    write(nullptr, 8, 0);
}

} // namespace orvo::bench
