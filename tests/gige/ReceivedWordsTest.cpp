// SPDX-License-Identifier: MIT
#include "gige/ReceivedWords.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <vector>

namespace orvo::test {
namespace {

TEST(ReceivedWordsTest, EveryNumberOfWordsIsTakenAsItsBytesAndNoMore) {
    constexpr std::size_t most = 100; // several of the widest vectors, and every rest
    constexpr unsigned char untouched = 0xA5;
    std::vector<std::uint32_t> words(most + 1);
    for (std::size_t k = 0; k < words.size(); ++k)
        words[k] = static_cast<std::uint32_t>(0xFFFE'0000 + 0x3579 * k);
    for (std::size_t count = 0; count <= most; ++count) {
        auto left = words;
        const std::uint32_t* from = words.data() + count % 2; // also where no vector would begin
        std::vector<unsigned char> frame(2 * most + 3, untouched);
        std::vector<unsigned char> expected = frame;
        for (std::size_t k = 0; k < count; ++k) {
            expected[1 + 2 * k] = static_cast<unsigned char>(from[k] & 0xFF);
            expected[2 + 2 * k] = static_cast<unsigned char>(from[k] >> 8 & 0xFF);
        }
        core::zume::takeFrame(left.data() + count % 2, count, frame.data() + 1);
        ASSERT_EQ(frame, expected) << count << " words";
        auto rest = words;
        std::fill_n(rest.begin() + static_cast<std::ptrdiff_t>(count % 2), count, 0U);
        ASSERT_EQ(left, rest) << count << " words";
    }
}

} // namespace
} // namespace orvo::test
