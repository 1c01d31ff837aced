// Results in the forms that users read.
#include "app/Output.h"
#include "board/PluginLog.h"

#include <gtest/gtest.h>

namespace orvo::host {
namespace {

TEST(OutputTest, AlignsColumnsAndGroupsDigits) {
    EXPECT_EQ(table({{"A", "LONG", "C"}, {"1234", "", "x"}, {"", "", ""}}),
              "A     LONG  C\n1234        x\n\n");
    EXPECT_EQ(grouped(0), "0");
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

} // namespace
} // namespace orvo::host
