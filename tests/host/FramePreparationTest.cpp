// SPDX-License-Identifier: MIT
// Which captured frames can be sent, and in what form.
#include "frames/FramePreparation.h"

#include <gtest/gtest.h>

namespace orvo::host {
namespace {

TEST(FramePreparationTest, SortsOutWhatCannotBeSentAndPadsTheRest) {
    const struct {
        std::size_t length, originalLength;
        std::optional<DropReason> reason;
        qsizetype paddedBytes;
    } cases[] = {
        {13, 13, DropReason::TooShort, 0},    {14, 14, std::nullopt, 60},
        {59, 59, std::nullopt, 60},           {60, 60, std::nullopt, 60},
        {61, 61, std::nullopt, 62},           {62, 62, std::nullopt, 62},
        {1513, 1513, std::nullopt, 1514},     {1514, 1514, std::nullopt, 1514},
        {1515, 1515, DropReason::TooLong, 0}, {96, 1515, DropReason::TooLong, 0},
        {96, 97, DropReason::CutShort, 0},
    };
    const QByteArray bytes(2000, '\xA5');
    for (const auto& row : cases) {
        SCOPED_TRACE(row.length);
        const CapturedFrame frame{reinterpret_cast<const std::uint8_t*>(bytes.data()), row.length,
                                  row.originalLength, 1};
        EXPECT_EQ(dropReason(frame), row.reason);
        if (row.reason) continue;
        EXPECT_EQ(paddedFrame(frame),
                  bytes.left(static_cast<qsizetype>(row.length)).leftJustified(row.paddedBytes, '\0'));
    }
}

} // namespace
} // namespace orvo::host
