// Configuration files: what they say, and what is said about bad ones.
#include "config/Configuration.h"

#include <gmock/gmock.h>

#include <fstream>
#include <sstream>

namespace orvo::sim {

namespace {

const std::filesystem::path file = "/etc/boards.toml";

std::vector<std::string> wiresOf(const Configuration& configuration) {
    std::vector<std::string> wires;
    for (const auto& wire : configuration.wires)
        wires.push_back(toText(wire.place).append(" ").append(wire.wire.text()));
    return wires;
}

/// The first TOML block of the guide.
std::string exampleOfTheGuide() {
    std::ifstream guide(SIMULATOR_GUIDE);
    std::stringstream text;
    text << guide.rdbuf();
    const auto begin = text.str().find("```toml\n") + 8;
    return text.str().substr(begin, text.str().find("```", begin) - begin);
}

TEST(ConfigurationTest, ExampleOfTheGuideShowsTheDefaults) {
    const auto example = parseConfiguration(exampleOfTheGuide(), file);
    ASSERT_EQ(example.boards.size(), 2U);
    const auto& board = example.boards[0];
    const auto usual = defaultConfiguration().boards.at(0);
    EXPECT_EQ(std::tie(board.index, board.serial, board.type, board.name, board.cameraInterface, board.ports,
                       board.cold),
              std::tie(usual.index, usual.serial, usual.type, usual.name, usual.cameraInterface, usual.ports,
                       usual.cold));
    EXPECT_EQ(
        std::tie(board.receiveQueueWords, board.actionQueueWords, board.phyResetMs, board.negotiationMs),
        std::tie(usual.receiveQueueWords, usual.actionQueueWords, usual.phyResetMs, usual.negotiationMs));
    EXPECT_EQ(board.firmware, usual.firmware);
    EXPECT_EQ(example.boards[1].index, 1U);
    EXPECT_EQ(example.boards[1].serial, usual.serial + 1);
    EXPECT_TRUE(example.boards[1].cold);
    EXPECT_THAT(wiresOf(example),
                testing::ElementsAre("0/0 loopback", "0/1 port:1/0",
                                     "0/2 pcap:/etc/traffic.pcap,/etc/sent.pcap", "0/3 none", "1/1 loopback",
                                     "1/2 loopback", "1/3 loopback"));
    ASSERT_EQ(example.firmwares.size(), 2U);
    EXPECT_NE(example.firmwares[0]->addressOf("GigeTxDisableCrcGeneration2"), 0U);
    EXPECT_EQ(example.firmwares[1]->addressOf("GigeTxDisableCrcGeneration2"), 0U);
    EXPECT_NE(example.firmwares[1]->addressOf("GigeTxDisableCrcGeneration1"), 0U);
}

TEST(ConfigurationTest, BoardsAndCablesComeInAnyOrder) {
    const auto configuration = parseConfiguration(R"(
[[board]]
index = 7
ports = 1
wires = { 0 = "port:2/1" }
[[board]]
index = 2
ports = 2
wires = { 1 = "port:7/0" }
[[board]]
ports = 0
)",
                                                  file);
    ASSERT_EQ(configuration.boards.size(), 3U);
    EXPECT_EQ(configuration.boards[0].index, 2U);
    EXPECT_EQ(configuration.boards[1].index, 3U); // one more than the board before it
    EXPECT_THAT(wiresOf(configuration), testing::ElementsAre("7/0 port:2/1", "2/0 loopback"));
}

TEST(ConfigurationTest, FileWithoutBoardsKeepsTheDefaultBoard) {
    const auto configuration =
        parseConfiguration("[[firmware]]\nversion = \"1.0\"\nwithout = [\"GigE_Reset\"]\n", file);
    ASSERT_EQ(configuration.boards.size(), 1U);
    EXPECT_EQ(configuration.firmwares.at(0)->addressOf("GigE_Reset"), 0U);
    EXPECT_EQ(wiresOf(configuration).size(), 4U);
}

TEST(ConfigurationTest, BadFilesAreRefusedWithLineAndReason) {
    struct Case {
        const char* text;
        unsigned line;
        const char* reason;
    };
    const Case cases[] = {
        {"[[board]\n", 1, ""},
        {"\n[[board]]\nname = \"open\n", 3, ""},
        {"colour = 1\n", 1, "unknown key 'colour' in the file; it may have board, firmware"},
        {"[board]\nports = 1\n", 1,
         "'board' in the file must be a list of tables, each begun with [[board]]"},
        {"board = [1]\n", 1, "'board' in the file must be a list of tables"},
        {"[[board]]\nports = 1\ncolor = 2\n", 3,
         "unknown key 'color' in [[board]]; it may have action_queue_words, "},
        {"[[board]]\nports = 5\n", 2, "'ports' in [[board]] must be a whole number from 0 to 4"},
        {"[[board]]\nports = -1\n", 2, "must be a whole number from 0 to 4"},
        {"[[board]]\nports = \"4\"\n", 2, "must be a whole number from 0 to 4"},
        {"[[board]]\nserial = 4294967296\n", 2, "must be a whole number from 0 to 4294967295"},
        {"[[board]]\ntype = 1.5\n", 2, "must be a whole number from 0 to 65535"},
        {"[[board]]\nindex = 32\n", 2, "must be a whole number from 0 to 31"},
        {"[[board]]\nindex = 31\n[[board]]\n", 3, "there is no board index after 31"},
        {"[[board]]\n[[board]]\nindex = 0\n", 3, "board index 0 is given twice"},
        {"[[board]]\nreceive_queue_words = 15\n", 2, "from 16 to 16777216"},
        {"[[board]]\nname = 3\n", 2, "'name' in [[board]] must be a text in quotes"},
        {"[[board]]\ncold = 1\n", 2, "'cold' in [[board]] must be true or false"},
        {"[[board]]\nfirmware = 1.0\n", 2, "'firmware' in [[board]] must be a text in quotes"},
        {"[[board]]\nfirmware = \"1\"\n", 2, "'1' is no firmware version; write MAJOR.MINOR"},
        {"[[board]]\nfirmware = \"1.256\"\n", 2, "'1.256' is no firmware version"},
        {"[[board]]\nfirmware = \"1.0b\"\n", 2, "'1.0b' is no firmware version"},
        {"[[firmware]]\nwithout = []\n", 1, "'' is no firmware version"},
        {"[[firmware]]\nversion = \"1.0\"\nwithout = [\"GigE_Reset\",\n\"Gige\"]\n", 4,
         "unknown register 'Gige'"},
        {"[[firmware]]\nversion = \"1.0\"\nwithout = [\"GigeWriteData4\"]\n", 3,
         "unknown register 'GigeWriteData4'"},
        {"[[firmware]]\nversion = \"1.0\"\nwithout = \"GigE_Reset\"\n", 3,
         "'without' in [[firmware]] must be a list of texts"},
        {"[[firmware]]\nversion = \"1.0\"\nwithout = [1]\n", 3, "must be a list of texts"},
        {"[[firmware]]\nversion = \"1.0\"\n[[firmware]]\nversion = \"1.0\"\n", 4, "described twice"},
        {"[[board]]\nwires = [\"none\"]\n", 2, "'wires' in [[board]] must be a table"},
        {"[[board]]\nwires.1 = 4\n", 2, "'wires.1' in [[board]] must be a text in quotes"},
        {"[[board]]\nports = 2\nwires.2 = \"none\"\n", 3,
         "'wires.2' names no port; board 0 has 2, counted from 0"},
        {"[[board]]\nwires.one = \"none\"\n", 2, "'wires.one' names no port"},
        {"[[board]]\nwires.1 = \"cable\"\n", 2, "wire 'cable' is unknown; use loopback"},
        {"[[board]]\nwires.1 = \"tap:x\"\n", 2, "wire 'tap:x' is not available"},
        {"[[board]]\nwires.1 = \"port:0/4\"\n", 2, "there is no port 0/4 to cable to"},
        {"[[board]]\nwires.1 = \"port:1/0\"\n", 2, "there is no port 1/0 to cable to"},
        {"[[board]]\nwires.1 = \"port:0/1\"\n", 2, "port 0/1 cannot be cabled to itself; use loopback"},
        {"[[board]]\nwires.0 = \"port:0/2\"\nwires.1 = \"port:0/2\"\n", 3,
         "port 0/2 is cabled twice, here and in line 2"},
        {"[[board]]\nwires.0 = \"port:0/1\"\nwires.1 = \"loopback\"\n", 3,
         "port 0/1 is cabled twice, here and in line 2"},
        {"[[board]]\nwires.1 = \"none\"\nwires.0 = \"port:0/1\"\n", 3,
         "port 0/1 is cabled twice, here and in line 2"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        try {
            parseConfiguration(c.text, file);
            ADD_FAILURE() << "accepted";
        } catch (const ConfigurationError& error) {
            const std::string start = file.string() + ":" + std::to_string(c.line) + ": ";
            EXPECT_THAT(error.what(), testing::StartsWith(start));
            EXPECT_THAT(error.what(), testing::HasSubstr(c.reason));
            EXPECT_THAT(error.what(), testing::Not(testing::HasSubstr("\n")));
            EXPECT_GT(std::string(error.what()).size(), start.size());
        }
    }
}

} // namespace

} // namespace orvo::sim
