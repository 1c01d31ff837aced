// SPDX-License-Identifier: MIT
#include "device/recording/RecordedCall.h"

#include <orvo/hal/orvo_hal.h>

#include <cstring>

namespace orvo::host {
namespace {

constexpr std::uint32_t endMark = 0x1'0000;

std::uint32_t wordAt(std::span<const std::uint8_t> words, std::size_t index) {
    std::uint32_t word = 0;
    std::memcpy(&word, words.data() + index * sizeof word, sizeof word);
    return word;
}

/// A single word is often a size, and stays as it is.
bool isFrame(std::span<const std::uint8_t> words) {
    if (words.size() % 4 != 0 || words.size() < 8) return false;
    const auto last = words.size() / 4 - 1;
    for (std::size_t i = 0; i < last; ++i)
        if (wordAt(words, i) > 0xFFFF) return false;
    return (wordAt(words, last) & ~0xFFFFU) == endMark;
}

} // namespace

bool RecordedCall::isEmptyRead() const {
    return isQueueRead() && result == static_cast<int>(HalTimeout);
}

std::uint64_t RecordedCall::deliveredBytes() const {
    const auto told = result.get<std::int64_t>();
    if (told < 0) return 0;
    const auto asked = arguments[3].get<std::uint64_t>();
    return told == 0 || static_cast<std::uint64_t>(told) > asked ? asked : static_cast<std::uint64_t>(told);
}

void packWords(std::span<const std::uint8_t> words, ByteString& kept) {
    if (!isFrame(words)) {
        kept.assign(words.begin(), words.end());
        return;
    }
    kept.resize(words.size() / 2);
    for (std::size_t i = 0; i < kept.size() / 2; ++i)
        std::memcpy(kept.data() + 2 * i, words.data() + 4 * i, 2);
}

ByteString unpackedWords(const ByteString& kept, std::uint64_t deliveredBytes) {
    if (kept.size() < 4 || kept.size() * 2 != deliveredBytes) return kept;
    ByteString words(kept.size() * 2);
    for (std::size_t i = 0; i < kept.size() / 2; ++i)
        std::memcpy(words.data() + 4 * i, kept.data() + 2 * i, 2);
    words[words.size() - 2] = 1; // bit 16 of the last word
    return words;
}

} // namespace orvo::host
