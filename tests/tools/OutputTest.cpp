// SPDX-License-Identifier: MIT
// Texts in the forms that users read and write.
#include "app/Output.h"
#include "board/PluginLog.h"
#include "board/PortAddress.h"

#include <gtest/gtest.h>

namespace orvo::host {
namespace {

TEST(OutputTest, AlignsColumnsAndGroupsDigits) {
    EXPECT_EQ(table({{"A", "LONG", "C"}, {"1234", "", "x"}, {"", "", ""}}),
              "A     LONG  C\n1234        x\n\n");
    EXPECT_EQ(grouped(999), "999");
    EXPECT_EQ(grouped(1000), "1,000");
    EXPECT_EQ(grouped(1234567), "1,234,567");
}

TEST(OutputTest, ShowsThePluginsMessagesWithoutTheirPrefix) {
    EXPECT_EQ(textAbout("0/1", "thread-id=7|PHY Id '0/1': Send - 3 frames (204 bytes)\n"),
              "Send - 3 frames (204 bytes)");
    EXPECT_EQ(textAbout("0/1", "thread-id=7|PHY Id '0/1':        ... x : 0"), "       ... x : 0");
    EXPECT_FALSE(textAbout("0/1", "thread-id=7|PHY Id '0/2': Send"));
    EXPECT_FALSE(textAbout("0/1", "thread-id=7|Resetting GigE hardware on board 0 ... "));
}

TEST(PortAddressTest, ReadsWhatItWritesAndNothingElse) {
    EXPECT_EQ(PortAddress::parse("1/3"), (PortAddress{1, 3}));
    EXPECT_EQ(PortAddress::parse(PortAddress{31, 12}.text()), (PortAddress{31, 12}));
    for (const char* text : {"", "/", "1", "1/", "/1", "-1/0", "1/ 2", "1/2/3", "1/2x", "0/123456"})
        EXPECT_FALSE(PortAddress::parse(text)) << text;
}

} // namespace
} // namespace orvo::host
