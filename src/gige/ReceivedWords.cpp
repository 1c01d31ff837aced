// SPDX-License-Identifier: MIT
#include "gige/ReceivedWords.h"

#include "platform/SeveralProcessors.h"

#include <bit>
#include <cstring>

namespace orvo::core::zume {
namespace {

static_assert(std::endian::native == std::endian::little, "a word's low byte must come first in memory");

void takeWords(std::uint32_t* words, std::size_t wordCount, unsigned char* frame) {
    for (std::size_t k = 0; k < wordCount; ++k) {
        const auto unit = static_cast<std::uint16_t>(words[k]);
        std::memcpy(frame + 2 * k, &unit, sizeof unit);
    }
    std::memset(words, 0, wordCount * sizeof *words);
}

// In blocks whose words go through registers, so that clearing them needs no second pass.
ORVO_FOR_SEVERAL_PROCESSORS
void takeBlocks(std::uint32_t* words, std::size_t wordCount, unsigned char* frame) {
    constexpr std::size_t blockWords = 32; // two of the widest vectors
    std::size_t k = 0;
    for (; k + blockWords <= wordCount; k += blockWords) {
        std::uint16_t units[blockWords];
        for (std::size_t i = 0; i < blockWords; ++i) units[i] = static_cast<std::uint16_t>(words[k + i]);
        std::memcpy(frame + 2 * k, units, sizeof units);
        std::memset(words + k, 0, blockWords * sizeof *words);
    }
    if (k != wordCount) takeWords(words + k, wordCount - k, frame + 2 * k);
}

} // namespace

void takeFrame(std::uint32_t* words, std::size_t wordCount, unsigned char* frame) {
    takeBlocks(words, wordCount, frame);
}

} // namespace orvo::core::zume
