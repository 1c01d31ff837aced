// SPDX-License-Identifier: MIT
#include "support/HostLocale.h"
#include "support/InterfaceTest.h"

namespace orvo::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class DiagnosticDumpTest : public InterfaceTest {};

std::string line(const std::string& text) {
    return "2 PHY Id 'gige" + text;
}

std::string found(const std::string& device) {
    return line("' [HAL     ]               Device Found: Index " + device);
}

TEST_F(DiagnosticDumpTest, CompleteReport) {
    const HostLocale locale; // has no say in messages
    setUpPort();
    board.infoInts = {{"board/serial", -2}, {"board/type", 0x12A44}};
    board.infoTexts = {{"board/name", "Grabber"}};
    board.registers["GigeRecvPktCnt2"] = {100, 4000000000};
    board.registers["GigeRecvErrCnt2"] = {2};
    board.registers["GvspFiFoOverflow_GigeTransceiver2"] = {16};
    board.failing = {"CtrlPktReceivedCnt2"};
    board.registers["MdioReadReg"] = {0x1140, 0x796D, 0};
    port.triggerDebugOutput();
    std::vector<std::string> texts{
        "' [START] DEBUG OUTPUT ...",
        "' Informations from own device handle:",
        "' [STORED  ]                 Board Index: 0",
        "' [HAL     ]                Board Serial: 0xfffffffe",
        "' [HAL     ]                  Board Type: 0x2a44",
        "' [HAL     ]                  Board Name: Grabber",
        "' Informations from HAL:",
        "' [HAL     ]               Devices Count: 1",
        "' [HAL     ]               Device Found: Index 0, Serial 0x1234",
        "' Firmware Debug Registers:",
        "' [REGISTER]      Hardware Packet Count : 100",
        "' [REGISTER]     Hardware Packet Errors : 2",
        "' [REGISTER]     Ctrl Packet Recv Count : 0",
        "' [REGISTER] Ctrl Packet Send UIQ Count : 0",
        "' [REGISTER]         GVSP FIFO overflow : 16",
        "' [REGISTER]        GVCP FIFO not empty : 0",
        "' Waiting 1 second...",
        "' Firmware Debug Registers:",
        "' [REGISTER]      Hardware Packet Count : 4000000000",
        "' [REGISTER]     Hardware Packet Errors : 2",
        "' [REGISTER]     Ctrl Packet Recv Count : 0",
        "' [REGISTER] Ctrl Packet Send UIQ Count : 0",
        "' [REGISTER]         GVSP FIFO overflow : 16",
        "' [REGISTER]        GVCP FIFO not empty : 0",
        "': ===============================",
        "': ====== PHY Register Dump ======",
        "': ===============================",
        "': [MDIO] ...... Register 0: 0x1140 [ 0001_0001_0100_0000 ] ",
        "': [MDIO] ...... Register 1: 0x796d [ 0111_1001_0110_1101 ] ",
    };
    for (int n = 2; n <= 28; ++n)
        texts.push_back("': [MDIO] ...... Register " + std::to_string(n) +
                        ": 0x0000 [ 0000_0000_0000_0000 ] ");
    texts.emplace_back("' [STOP ] DEBUG OUTPUT");
    for (auto& text : texts) text = line(text);
    EXPECT_EQ(takeMessages(), texts);

    const auto journal = board.takeJournal();
    EXPECT_EQ(std::count(journal.begin(), journal.end(), "sleep 1000000"), 1);
    const auto phy = std::find(journal.begin(), journal.end(), "write GigE_MdioPhyAddr 0x2");
    ASSERT_EQ(journal.end() - phy, 2 + 29 * 5) << "its own port's PHY, whichever was selected before";
    EXPECT_THAT(Journal(phy, phy + 7),
                ElementsAre("write GigE_MdioPhyAddr 0x2", "sleep 100000", "write GigE_MdioRegAddr 0",
                            "write GigE_MdioRD 0", "sleep 50000", "read MdioReadReg 0x1140", "sleep 50000"));

    setThreshold(5); // the queries take place whether or not a line is logged
    port.triggerDebugOutput();
    EXPECT_THAT(takeMessages(), IsEmpty());
    EXPECT_EQ(board.takeJournal().size(), journal.size());
}

TEST_F(DiagnosticDumpTest, DeviceWalkStopsWhenAllAreFound) {
    for (const auto& lookup : portLookups) board.lacking.insert(lookup.substr(5));
    setUpPort();
    const std::string skipped = "2 Found device with serial '0' on device index 0, skipping...";
    const struct {
        const char* name;
        int count;
        std::map<int, int> serials;
        Messages lines;
        int lastIndex;
    } rows[] = {
        {"two", 2, {{0, 1}, {1, 2}, {2, 3}}, {found("0, Serial 0x1"), found("1, Serial 0x2")}, 1},
        {"one without serial", 2, {{0, 0}, {1, 2}}, {skipped, found("1, Serial 0x2")}, 1},
        {"the last without serial", 1, {{0, 0}}, {skipped}, 1},
        {"none", 0, {}, {}, 0},
        {"far apart", 1, {{30, 0x1F}}, {found("30, Serial 0x1f")}, 30},
        {"fewer than said", 3, {}, {}, 31},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        board.deviceCount = row.count;
        board.deviceSerials = row.serials;
        port.triggerDebugOutput();
        const auto messages = takeMessages();
        EXPECT_EQ(messages.at(5), line("' [HAL     ]                  Board Name: "));
        const auto registers =
            std::find(messages.begin(), messages.end(), line("' Firmware Debug Registers:"));
        EXPECT_EQ(Messages(messages.begin() + 8, registers), row.lines);
        EXPECT_EQ(registers[1], line("' Waiting 1 second...")) << "no lines of absent registers";
        const auto journal = board.takeJournal();
        const auto count = [&](const std::string& line) {
            return std::count(journal.begin(), journal.end(), line);
        };
        EXPECT_EQ(count("get device " + std::to_string(row.lastIndex)), 1);
        EXPECT_EQ(count("get device " + std::to_string(row.lastIndex + 1)), 0);
        EXPECT_EQ(count("put device"), count("info board/serial") - 1) << "every handle goes back";
    }
}

} // namespace
} // namespace orvo::test
