// SPDX-License-Identifier: MIT
// Configuration files: what they say, and what is said about bad ones.
#include "config/Configuration.h"

#include <gmock/gmock.h>

#include <fstream>
#include <sstream>

namespace {

using namespace orvo::sim;
using testing::ElementsAre;

const std::filesystem::path file = "/etc/boards.toml";

std::vector<std::string> wiresOf(const Configuration& configuration) {
    std::vector<std::string> wires;
    for (const auto& wire : configuration.wires)
        wires.push_back(toText(wire.place).append(" ").append(wire.wire.text()));
    return wires;
}

auto fieldsOf(const BoardConfiguration& board) {
    return std::tie(board.index, board.serial, board.type, board.name, board.cameraInterface, board.ports,
                    board.cold, board.receiveQueueWords, board.actionQueueWords, board.phyResetMs,
                    board.negotiationMs);
}

TEST(ConfigurationTest, ExampleOfTheGuideShowsTheDefaults) {
    std::stringstream guide;
    guide << std::ifstream(SIMULATOR_GUIDE).rdbuf();
    const auto begin = guide.str().find("```toml\n") + 8;
    const auto text = guide.str().substr(begin, guide.str().find("```", begin) - begin);
    const auto example = parseConfiguration(text, file), usual = parseConfiguration("", file);
    EXPECT_EQ(fieldsOf(example.boards.at(0)), fieldsOf(usual.boards.at(0)));
    EXPECT_EQ(example.boards.at(1).serial, usual.boards[0].serial + 1);
    EXPECT_TRUE(example.boards[1].cold);
    EXPECT_THAT(wiresOf(example),
                ElementsAre("0/0 loopback", "0/1 port:1/0", "0/2 pcap:/etc/traffic.pcap,/etc/sent.pcap",
                            "0/3 none", "1/1 loopback", "1/2 loopback", "1/3 loopback"));
    const auto& lacking = *example.firmwares.at(1);
    EXPECT_NE(example.firmwares[0]->addressOf("GigeTxDisableCrcGeneration2"), 0U);
    EXPECT_EQ(lacking.addressOf("GigeTxDisableCrcGeneration2"), 0U);
    EXPECT_NE(lacking.addressOf("GigeTxDisableCrcGeneration1"), 0U);
}

TEST(ConfigurationTest, BoardsAndCablesComeInAnyOrder) {
    const auto configuration = parseConfiguration("[[board]]\nindex = 7\nports = 1\nwires.0 = 'port:2/1'\n"
                                                  "[[board]]\nindex = 2\nports = 2\nwires.1 = 'port:7/0'\n"
                                                  "[[board]]\nports = 0\n",
                                                  file);
    EXPECT_EQ(configuration.boards.at(0).index, 2U);
    EXPECT_EQ(configuration.boards.at(1).index, 3U); // one more than the board before it
    EXPECT_THAT(wiresOf(configuration), ElementsAre("7/0 port:2/1", "2/0 loopback"));
}

TEST(ConfigurationTest, BadFilesAreRefusedWithLineAndReason) {
    const std::string board = "[[board]]\n", firmware = "[[firmware]]\nversion = '1.0'\n";
    const std::tuple<std::string, int, const char*> cases[] = {
        {board + "name = 'open\n", 2, "."},
        {"# \xC3\xA9\n# [ = \nna\xC3\xAFve = 1\n", 3, "outside quotes that TOML does not have"},
        {"colour = \"\xC3\xA9 [ = \"\n[[ = 1\n", 2, "outside quotes that TOML does not have"},
        {"colour = 1\n", 1, "unknown key 'colour' in the file; it may have board, firmware"},
        {"[board]\n", 1, "'board' in the file must be a list of tables, each begun with \\[\\[board\\]\\]"},
        {"board = [1]\n", 1, "'board' in the file must be a list of tables"},
        {board + "ports = 1\ncolor = 2\n", 3, "unknown key 'color' in .*; it may have action_queue_words, "},
        {board + "ports = 5\n", 2, "'ports' in .* must be a whole number from 0 to 4"},
        {board + "ports = '4'\n", 2, "must be a whole number from 0 to 4"},
        {board + "index = 31\n" + board, 3, "there is no board index after 31"},
        {board + board + "index = 0\n", 3, "board index 0 is given twice"},
        {board + "receive_queue_words = 15\n", 2, "from 16 to 16777216"},
        {board + "name = 3\n", 2, "'name' in .* must be a text in quotes"},
        {board + "cold = 1\n", 2, "'cold' in .* must be true or false"},
        {board + "firmware = '1'\n", 2, "'1' is not a firmware version; write MAJOR.MINOR"},
        {board + "firmware = '1.256'\n", 2, "'1.256' is not a firmware version"},
        {board + "firmware = '1.0b'\n", 2, "'1.0b' is not a firmware version"},
        {firmware + "without = ['GigE_Reset',\n'Gige']\n", 4, "unknown register 'Gige'"},
        {firmware + "without = ['GigeWriteData4']\n", 3, "unknown register 'GigeWriteData4'"},
        {firmware + "without = 'Gige'\n", 3, "'without' in .* must be a list of texts"},
        {firmware + "without = [1]\n", 3, "'without' in .* must be a list of texts"},
        {firmware + firmware, 4, "described twice"},
        {board + "wires = ['none']\n", 2, "'wires' in .* must be a table"},
        {board + "wires.1 = 4\n", 2, "'wires.1' in .* must be a text in quotes"},
        {board + "ports = 2\nwires.2 = 'none'\n", 3, "'wires.2' names no port; board 0 has 2, "},
        {board + "wires.1 = 'cable'\n", 2, "wire 'cable' is unknown; use loopback"},
        {board + "wires.1 = 'port:0/4'\n", 2, "there is no port 0/4 to cable to"},
        {board + "wires.1 = 'port:0/1'\n", 2, "port 0/1 cannot be cabled to itself; use loopback"},
        {board + "wires.0 = 'port:0/2'\nwires.1 = 'port:0/2'\n", 3,
         "port 0/2 is cabled twice, here and in line 2"},
        {board + "wires.1 = 'none'\nwires.0 = 'port:0/1'\n", 3,
         "port 0/1 is cabled twice, here and in line 2"},
    };
    for (const auto& [text, line, reason] : cases) {
        SCOPED_TRACE(text);
        const auto message = "/etc/boards.toml:" + std::to_string(line) + ": [^\n]*" + reason + "[^\n]*";
        EXPECT_THAT([&text = text] { parseConfiguration(text, file); },
                    testing::ThrowsMessage<ConfigurationError>(testing::MatchesRegex(message)));
    }
}

} // namespace
