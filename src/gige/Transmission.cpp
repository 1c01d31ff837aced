// Checking and unpacking of transmissions; pure functions.
#include "gige/Transmission.h"

namespace orvo::core::zume {

TransmissionVerdict checkTransmission(const std::uint32_t* words, std::uint32_t requestedBytes,
                                      int deliveredBytes) {
    const auto delivered = static_cast<std::uint32_t>(deliveredBytes);
    if (delivered < sizeof(std::uint32_t) || delivered > requestedBytes)
        return TransmissionVerdict::WrongSize;
    if ((lastWord(words, deliveredBytes) & endOfTransmission) == 0) return TransmissionVerdict::NoEnd;
    if (delivered != requestedBytes && delivered + 2 != requestedBytes) return TransmissionVerdict::WrongSize;
    return TransmissionVerdict::Good;
}

void unpackFrame(const std::uint32_t* words, std::size_t wordCount, unsigned char* frame) {
    for (std::size_t k = 0; k < wordCount; ++k) {
        frame[2 * k] = static_cast<unsigned char>(words[k]);
        frame[2 * k + 1] = static_cast<unsigned char>(words[k] >> 8);
    }
}

} // namespace orvo::core::zume
