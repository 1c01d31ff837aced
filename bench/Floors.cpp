// The lean receive and send.
#include "Floors.h"

#include "gige/Transmission.h"
#include "hal/OrvoHal.h"

#include <boost/make_shared.hpp>

#include <memory>

namespace orvo::bench {

using core::zume::EthernetFrame;

boost::shared_ptr<EthernetFrame> leanReceive() {
    const auto read = m_POHalDataQueueReadBufferLong.load(std::memory_order_relaxed);
    std::uint32_t frameBytes = 0;
    read(nullptr, 0, &frameBytes, sizeof frameBytes, 100);
    const auto words = std::make_unique_for_overwrite<std::uint32_t[]>(frameBytes / 2);
    const int delivered = read(nullptr, 0, words.get(), 2 * frameBytes, 100);
    QByteArray bytes(delivered / 2, Qt::Uninitialized);
    core::zume::unpackFrame(words.get(), static_cast<std::size_t>(delivered) / 4,
                            reinterpret_cast<unsigned char*>(bytes.data()));
    return boost::make_shared<EthernetFrame>(bytes);
}

void leanSend(const unsigned char* bytes, std::size_t frameBytes) {
    for (std::size_t k = 0; k < frameBytes / 2; ++k)
        m_POHalRegisterWrite.load(std::memory_order_relaxed)(nullptr, 8,
                                                             bytes[2 * k] + 256U * bytes[2 * k + 1]);
}

} // namespace orvo::bench
