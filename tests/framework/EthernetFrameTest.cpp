// Frame bytes and their check sequence.
#include <orvo/core/zume/EthernetFrame.h>

#include <gtest/gtest.h>

namespace orvo::test {
namespace {

using core::zume::EthernetFrame;

TEST(EthernetFrame, CheckSequenceIsAppendedOnce) {
    struct Row {
        QByteArray data;
        unsigned int errorMask;
        QByteArray fcs; // as sent: least significant byte first
    };
    const Row rows[] = {{"123456789", 0, QByteArray::fromHex("2639f4cb")}, // the check value of CRC-32
                        {"123456789", 0x80000001U, QByteArray::fromHex("2739f44b")},
                        {"123456789", ~0U, QByteArray::fromHex("d9c60b34")},
                        {QByteArray(), 0, QByteArray::fromHex("00000000")},
                        {QByteArray(60, '\0'), 0, QByteArray::fromHex("08891204")}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.fcs.toHex().toStdString());
        EthernetFrame frame(row.data);
        EXPECT_EQ(frame.length(), row.data.size());
        EXPECT_EQ(frame.data(), row.data);
        const EthernetFrame copy(frame);
        frame.appendFcs(row.errorMask);
        frame.appendFcs(row.errorMask + 1);
        EXPECT_TRUE(frame.hasFcsAppended());
        EXPECT_EQ(frame.data().toHex(), (row.data + row.fcs).toHex());
        EXPECT_EQ(frame.length(), row.data.size() + 4);
        EXPECT_EQ(copy.data(), row.data) << "shared until one of them changes";
        EXPECT_FALSE(copy.hasFcsAppended());
    }
}

} // namespace
} // namespace orvo::test
