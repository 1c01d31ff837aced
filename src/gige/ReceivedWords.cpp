// SPDX-License-Identifier: MIT
#include "gige/ReceivedWords.h"

#include "platform/SeveralProcessors.h"

#include <bit>
#include <cstring>

namespace orvo::core::zume {
namespace {

static_assert(std::endian::native == std::endian::little, "a word's low byte must come first in memory");

void packWords(const std::uint32_t* __restrict words, std::size_t wordCount,
               unsigned char* __restrict frame) {
    for (std::size_t k = 0; k < wordCount; ++k) {
        const auto unit = static_cast<std::uint16_t>(words[k]);
        std::memcpy(frame + 2 * k, &unit, sizeof unit);
    }
}

// In blocks of two of the widest vectors, each cleared while it is at hand.
ORVO_FOR_SEVERAL_PROCESSORS
void takeWords(std::uint32_t* words, std::size_t wordCount, unsigned char* frame) {
    constexpr std::size_t blockWords = 32;
    constexpr std::size_t stepWords = 8; // clearing more at once becomes a call, or a slow string instruction
    for (; wordCount >= blockWords; wordCount -= blockWords) {
        packWords(words, blockWords, frame);
#pragma GCC unroll 4
        for (std::size_t i = 0; i < blockWords; i += stepWords)
            std::memset(words + i, 0, stepWords * sizeof *words);
        words += blockWords;
        frame += 2 * blockWords;
    }
    packWords(words, wordCount, frame);
    if (wordCount != 0) std::memset(words, 0, wordCount * sizeof *words);
}

} // namespace

void takeFrame(std::uint32_t* words, std::size_t wordCount, unsigned char* frame) {
    takeWords(words, wordCount, frame);
}

} // namespace orvo::core::zume
