// SPDX-License-Identifier: MIT
// The form in which a received frame lies in a data queue, apart from any board.
#pragma once

#include <cstddef>
#include <cstdint>

namespace orvo::core::zume {

constexpr std::uint32_t endOfTransmission = 0x1'0000;  // bit 16 of a queue word
constexpr std::uint32_t maxTransmissionBytes = 65'536; // of the frame; no frame is longer

enum class TransmissionVerdict { Good, NoEnd, WrongSize };

/// The last whole word of a delivery of at least 4 bytes.
inline std::uint32_t lastWord(const std::uint32_t* words, int deliveredBytes) {
    return words[deliveredBytes / 4 - 1];
}

/// Judges what a read of `requestedBytes` delivered into `words`. A delivery under one word or over the
/// request is of wrong size whatever it holds; otherwise the last whole word must carry the end flag; then
/// the delivery must be all that was requested, or 2 bytes less. `deliveredBytes` is not negative.
inline TransmissionVerdict checkTransmission(const std::uint32_t* words, std::uint32_t requestedBytes,
                                             int deliveredBytes) {
    const auto delivered = static_cast<std::uint32_t>(deliveredBytes);
    if (delivered < sizeof(std::uint32_t) || delivered > requestedBytes)
        return TransmissionVerdict::WrongSize;
    if ((lastWord(words, deliveredBytes) & endOfTransmission) == 0) return TransmissionVerdict::NoEnd;
    if (delivered != requestedBytes && delivered + 2 != requestedBytes) return TransmissionVerdict::WrongSize;
    return TransmissionVerdict::Good;
}

/// Packs bits 0 to 15 of each word into two bytes of the frame, low byte first; everything else in a word is
/// dropped. Sets the words to zero. `frame` has room for 2 * `wordCount` bytes.
void takeFrame(std::uint32_t* words, std::size_t wordCount, unsigned char* frame);

} // namespace orvo::core::zume
