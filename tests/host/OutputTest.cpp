// SPDX-License-Identifier: MIT
// Texts in the forms that users read and write.
#include "base/Output.h"
#include "TestFiles.h"
#include "base/Failure.h"
#include "base/ReplacedFile.h"
#include "device/PluginLog.h"
#include "device/PortAddress.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace orvo::host {
namespace {

TEST(OutputTest, AlignsColumnsAndGroupsDigits) {
    EXPECT_EQ(table({{"A", "LONG", "C"}, {"12\x1B\n", "", "x"}, {"", "", ""}}),
              "A     LONG  C\n12??        x\n\n");
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

TEST(OutputTest, ReplacesWhatALinkLeadsToAlsoWhereThatIsNotThereYet) {
    const testing_support::TemporaryFolder folder;
    const auto link = [&](const char* target, const char* name) {
        std::filesystem::create_symlink(target, folder.file(name));
        return folder.file(name);
    };
    link("file", "near");
    const auto chain = link("near", "far");
    for (const char* content : {"first", "second"}) replaceFile(chain, content);
    EXPECT_TRUE(std::filesystem::is_symlink(chain) && std::filesystem::is_symlink(folder.file("near")));
    EXPECT_EQ(testing_support::contentOf(folder.file("file")), "second");
    for (const auto& [lost, complaint] :
         {std::pair(link("gone/file", "lost"), "No such file or directory; name another place, or make the"),
          std::pair(link("round", "round"), "symbolic links; name another place, one that")}) {
        try {
            replaceFile(lost, "");
            ADD_FAILURE() << lost;
        } catch (const Failure& failure) {
            EXPECT_NE(std::string(failure.what()).find(complaint), std::string::npos) << failure.what();
        }
        EXPECT_TRUE(std::filesystem::is_symlink(lost));
    }
}

TEST(PortAddressTest, ReadsWhatItWritesAndNothingElse) {
    EXPECT_EQ(PortAddress::parse("1/3"), (PortAddress{1, 3}));
    EXPECT_EQ(PortAddress::parse(PortAddress{31, 12}.text()), (PortAddress{31, 12}));
    for (const char* text : {"", "/", "1", "1/", "/1", "-1/0", "1/ 2", "1/2/3", "1/2x", "0/123456"})
        EXPECT_FALSE(PortAddress::parse(text)) << text;
}

} // namespace
} // namespace orvo::host
