// SPDX-License-Identifier: MIT
// Checking and unpacking of transmissions; pure functions.
#include "gige/Transmission.h"

#include <bit>
#include <cstring>

namespace orvo::core::zume {

namespace {

/// The one loop; what it is compiled to depends on the function that it is put into.
[[gnu::always_inline]] inline void packWords(const std::uint32_t* words, std::size_t wordCount,
                                             unsigned char* frame) {
    static_assert(std::endian::native == std::endian::little, "a word's low byte must come first in memory");
    for (std::size_t k = 0; k < wordCount; ++k) {
        const auto unit = static_cast<std::uint16_t>(words[k]);
        std::memcpy(frame + 2 * k, &unit, sizeof unit);
    }
}

void packAnywhere(const std::uint32_t* words, std::size_t wordCount, unsigned char* frame) {
    packWords(words, wordCount, frame);
}

#if defined(__x86_64__)
[[gnu::target("avx2")]] void packWithAvx2(const std::uint32_t* words, std::size_t wordCount,
                                          unsigned char* frame) {
    packWords(words, wordCount, frame);
}

/// These have one instruction for it.
[[gnu::target("avx512bw,avx512vl")]] void packWithAvx512(const std::uint32_t* words, std::size_t wordCount,
                                                         unsigned char* frame) {
    packWords(words, wordCount, frame);
}
#endif

} // namespace

std::vector<Unpacking> unpackings() {
    std::vector<Unpacking> usable;
#if defined(__x86_64__)
    __builtin_cpu_init();
    if (__builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512vl"))
        usable.push_back(packWithAvx512);
    if (__builtin_cpu_supports("avx2")) usable.push_back(packWithAvx2);
#endif
    usable.push_back(packAnywhere);
    return usable;
}

void unpackFrame(const std::uint32_t* words, std::size_t wordCount, unsigned char* frame) {
    static const Unpacking best = unpackings().front();
    best(words, wordCount, frame);
}

} // namespace orvo::core::zume
