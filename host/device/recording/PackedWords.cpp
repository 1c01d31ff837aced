// SPDX-License-Identifier: MIT
#include "device/recording/PackedWords.h"

#include <cstring>

namespace orvo::host {
namespace {

constexpr std::uint32_t endMark = 0x1'0000;

std::uint32_t wordAt(const std::byte* words, std::size_t index) noexcept {
    std::uint32_t word = 0;
    std::memcpy(&word, words + index * sizeof word, sizeof word);
    return word;
}

/// Writes the lower halves, and returns the bits that any of the words has. Without a branch, so that
/// compilers use vectors.
std::uint32_t packHalves(const std::byte* __restrict words, std::size_t count,
                         std::byte* __restrict halves) noexcept {
    std::uint32_t bits = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const auto word = wordAt(words, i);
        bits |= word;
        const auto half = static_cast<std::uint16_t>(word);
        std::memcpy(halves + i * sizeof half, &half, sizeof half);
    }
    return bits;
}

/// A single word is often a size, and stays as it is.
bool mayBeFrame(std::span<const std::byte> words) noexcept {
    return words.size() % 4 == 0 && words.size() >= 8 &&
           (wordAt(words.data(), words.size() / 4 - 1) & ~0xFFFFU) == endMark;
}

} // namespace

std::size_t packWords(std::span<const std::byte> words, std::byte* kept) noexcept {
    if (mayBeFrame(words)) {
        const auto last = words.size() / 4 - 1;
        const auto bits = packHalves(words.data(), last, kept);
        packHalves(words.data() + 4 * last, 1, kept + 2 * last);
        if (bits <= 0xFFFF) return words.size() / 2;
    }
    if (!words.empty()) std::memcpy(kept, words.data(), words.size());
    return words.size();
}

std::vector<std::uint8_t> unpackedWords(const std::vector<std::uint8_t>& kept, std::uint64_t deliveredBytes) {
    if (kept.size() < 4 || kept.size() * 2 != deliveredBytes) return kept;
    std::vector<std::uint8_t> words(kept.size() * 2);
    for (std::size_t i = 0; i < kept.size() / 2; ++i)
        std::memcpy(words.data() + 4 * i, kept.data() + 2 * i, 2);
    words[words.size() - 2] = 1; // bit 16 of the last word
    return words;
}

} // namespace orvo::host
