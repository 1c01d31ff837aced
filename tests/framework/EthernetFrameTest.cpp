// SPDX-License-Identifier: MIT
// Frame bytes and their check sequence.
#include <orvo/core/zume/EthernetFrame.h>

#include <gtest/gtest.h>

namespace orvo::test {
namespace {

TEST(EthernetFrame, CheckSequenceIsAppendedOnce) {
    const struct {
        QByteArray data;
        unsigned int errorMask;
        const char* fcs;                      // as sent: least significant byte first
    } rows[] = {{"123456789", 0, "2639f4cb"}, // the check value of CRC-32
                {"123456789", 0x80000001U, "2739f44b"},
                {QByteArray(), 0, "00000000"},
                {QByteArray(60, '\0'), 0, "08891204"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.fcs);
        core::zume::EthernetFrame frame(row.data);
        EXPECT_EQ(frame.length(), row.data.size());
        frame.appendFcs(row.errorMask);
        frame.appendFcs(row.errorMask + 1);
        EXPECT_TRUE(frame.hasFcsAppended());
        EXPECT_EQ(frame.data().toHex(), row.data.toHex() + row.fcs);
        EXPECT_EQ(frame.length(), row.data.size() + 4);
    }
}

} // namespace
} // namespace orvo::test
