// SPDX-License-Identifier: MIT
// `orvo-gige boards` as its users call it.
#include "Process.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <filesystem>
#include <fstream>

namespace orvo::host {
namespace {

using namespace testing_support;
using nlohmann::json;
using testing::HasSubstr;

TEST(BoardsCommandTest, ListsBoardsPortsLinksAndWires) {
    const TemporaryFolder folder;
    writeFile(folder.file("boards.toml"), "[[firmware]]\nversion = \"0.9\"\nwithout = [\"GigE_MdioRD\"]\n"
                                          "[[board]]\nserial = 77\nname = \"First\"\nports = 2\n"
                                          "[board.wires]\n1 = \"none\"\n"
                                          "[[board]]\nindex = 4\nports = 1\nfirmware = \"0.9\"\n");
    const std::vector<std::string> environment = {"ORVO_SIMULATOR_CONFIG=" + folder.file("boards.toml")};
    const auto outcome = runTool({"boards", "--json", "--wire", "4/0=port:0/0"}, environment);
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.err, "");
    const auto document = json::parse(outcome.out);
    EXPECT_EQ(document["simulated"], true);
    const auto& boards = document["boards"];
    ASSERT_EQ(boards.size(), 2u);
    EXPECT_EQ(boards[0]["serial"], 77);
    EXPECT_EQ(boards[0]["ports"], json::parse(R"([{"port":0,"link":"up","wire":"port:4/0"},
                                                  {"port":1,"link":"down","wire":"none"}])"));
    EXPECT_EQ(boards[1]["board"], 4);
    EXPECT_EQ(boards[1]["firmware"], "0.9");
    EXPECT_EQ(boards[1]["ports"], json::parse(R"([{"port":0,"link":"unknown","wire":"port:0/0"}])"));

    const auto text = runTool({"boards"}, environment).out;
    EXPECT_THAT(text, testing::StartsWith("BOARD  SERIAL    TYPE"));
    EXPECT_THAT(text,
                testing::ContainsRegex("0 +0x4d +0xa40 +First +1.0 +0 +up +loopback\n +1 +down +none\n4 "));
}

TEST(BoardsCommandTest, KnowsARealBoardFromASimulatedOne) {
    const TemporaryFolder root;
    std::filesystem::create_directory(root.file("lib64"));
    for (const char* name : {"orvo_hal", "kivrt"})
        std::filesystem::copy_file(ORVO_STUB_HAL, root.file(std::string("lib64/lib") + name + ".so"));
    const auto outcome = runTool({"boards", "--root", root.file("")});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_THAT(outcome.out, HasSubstr("no GigE ports"));
    EXPECT_THAT(outcome.out, testing::Not(HasSubstr("WIRE")));
    expectRefusal({"boards", "--root", root.file(""), "--wire", "0=loopback"}, 1,
                  "--wire needs a simulated board");
}

TEST(BoardsCommandTest, NamesTheLibraryThatCannotBeUsed) {
    const TemporaryFolder root;
    std::filesystem::create_directory(root.file("lib64"));
    const auto hal = root.file("lib64/liborvo_hal.so");
    std::filesystem::copy_file(ORVO_STUB_ENDING, hal);
    // This one needs the other, which lacks what both want.
    std::filesystem::copy_file(ORVO_BUILD_ROOT "/lib64/libkivrt.so", root.file("lib64/libkivrt.so"));
    const std::vector<std::string> command = {"boards", "--root", root.file("")};
    expectRefusal(command, 1, "liborvo_hal.so' has no function 'OHalGetDevice'");

    std::fstream(hal, std::ios::in | std::ios::out | std::ios::binary).seekp(18).put('\xB7'); // the machine
    expectRefusal(command, 1, "liborvo_hal.so' cannot be loaded: it is for another processor");
}

} // namespace
} // namespace orvo::host
