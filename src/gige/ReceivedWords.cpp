// SPDX-License-Identifier: MIT
#include "gige/ReceivedWords.h"

#include <bit>
#include <cstring>

// Compiles a function once for each of several kinds of processor; the loader chooses one. GCC and Clang know
// the widest vectors by different names. A sanitizer's run-time is not ready when the loader chooses.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define ORVO_SANITIZED
#elif defined(__clang__)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define ORVO_SANITIZED
#endif
#endif
#if !defined(__x86_64__) || defined(ORVO_SANITIZED)
#define ORVO_FOR_SEVERAL_PROCESSORS
#elif defined(__clang__)
#define ORVO_FOR_SEVERAL_PROCESSORS [[gnu::target_clones("default", "avx2", "avx512bw")]]
#else
#define ORVO_FOR_SEVERAL_PROCESSORS [[gnu::target_clones("default", "avx2", "arch=x86-64-v4")]]
#endif

namespace orvo::core::zume {
namespace {

static_assert(std::endian::native == std::endian::little, "a word's low byte must come first in memory");

// Of internal linkage: Clang 14 renames such a function, and other files would not find it.
ORVO_FOR_SEVERAL_PROCESSORS
void packWords(const std::uint32_t* words, std::size_t wordCount, unsigned char* frame) {
    for (std::size_t k = 0; k < wordCount; ++k) {
        const auto unit = static_cast<std::uint16_t>(words[k]);
        std::memcpy(frame + 2 * k, &unit, sizeof unit);
    }
}

} // namespace

void unpackFrame(const std::uint32_t* words, std::size_t wordCount, unsigned char* frame) {
    packWords(words, wordCount, frame);
}

} // namespace orvo::core::zume
