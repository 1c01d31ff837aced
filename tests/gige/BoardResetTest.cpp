// The reset of a board and of single ports: every access, pause and message in order.
#include "gige/OrvoGbePhysicalNetworkInterfaceD.h"
#include "support/EnvironmentVariable.h"
#include "support/InterfaceTest.h"

#include <fstream>
#include <thread>

namespace orvo::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

void append(Journal& journal, const Journal& lines) {
    journal.insert(journal.end(), lines.begin(), lines.end());
}

Journal mdioWrite(const std::string& phyRegister, const std::string& value) {
    return {"write GigE_MdioRegAddr " + phyRegister, "write GigE_Mdio " + value, "write GigE_MdioWR 0",
            "sleep 100000"};
}

Journal mdioRead(const std::string& phyRegister, const std::string& value) {
    return {"write GigE_MdioRegAddr " + phyRegister, "write GigE_MdioRD 0", "sleep 50000",
            "read MdioReadReg " + value, "sleep 50000"};
}

Journal resetPulse(const std::string& lines) {
    return {"find GigE_MdioRD",      "find GigE_MdioWR",     "find GigE_Mdio",  "find GigE_MdioRegAddr",
            "find GigE_MdioPhyAddr", "find MdioReadReg",     "find GigE_Reset", "write GigE_Reset " + lines,
            "sleep 100000",          "write GigE_Reset 0xf", "sleep 100000"};
}

/// What one port's PHY sees when extended register 0x0B holds `found` and gets `wanted`, and register 0 reads
/// `control`.
Journal phySequence(const std::string& port, const std::string& found, const std::string& wanted,
                    const std::vector<std::string>& control) {
    Journal journal{"write GigE_MdioPhyAddr " + port, "sleep 100000"};
    append(journal, mdioWrite("0x1d", "0x1b"));
    append(journal, mdioWrite("0x1e", "0x418f"));
    append(journal, mdioWrite("0x1d", "0x16"));
    append(journal, mdioWrite("0x1e", "0xa2da"));
    append(journal, mdioWrite("0x1d", "0xb"));
    append(journal, mdioRead("0x1e", found));
    append(journal, mdioWrite("0x1d", "0xb"));
    append(journal, mdioWrite("0x1e", wanted));
    append(journal, mdioWrite("0", "0x9140"));
    for (const auto& value : control) append(journal, mdioRead("0", value));
    return journal;
}

class BoardResetTest : public InterfaceTest {
protected:
    BoardResetTest() { port.stop(); } // forgets resets of tests before in this process

    /// The journal of the reset within `setup`: from the lookups after the opening to the port's own lookups.
    static Journal resetWithin(const Journal& setup) {
        const auto opened = std::find(setup.begin(), setup.end(), "configure") + 7; // and the MDIO registers
        return Journal(opened, std::find(setup.begin(), setup.end(), "find GigeBufferReset2"));
    }

    EnvironmentVariable home{"HOME", nullptr};
    core::zume::OrvoGbePhysicalNetworkInterface resetting; // port 2 as well, with the reset left on
    void SetUp() override {
        resetting.injectDependency("id", std::string("first"));
        resetting.injectDependency("portId", portId);
    }
};

TEST_F(BoardResetTest, FirstSetupResetsTheWholeBoard) {
    board.answer("MdioReadReg", {0xFFFF8123, 0x8140, 0x9140, 0x1140, 0x123, 0x1140, 0, 0x0, 0x7FFF, 0x1140});
    ASSERT_TRUE(resetting.setup());
    Journal expected = resetPulse("0");
    append(expected, phySequence("0", "0xffff8123", "0x123", {"0x8140", "0x9140", "0x1140"}));
    append(expected, phySequence("0x1", "0x123", "0x123", {"0x1140"}));
    append(expected, phySequence("0x2", "0", "0", {"0"}));
    append(expected, phySequence("0x3", "0x7fff", "0x7fff", {"0x1140"}));
    append(expected,
           {"find GigE_TxStart", "write GigE_TxStart 0x1", "find GigE_RxEnable", "write GigE_RxEnable 0x1",
            "find GigeTxStart0", "write GigeTxStart0 0x1", "find GigeTxStart1", "write GigeTxStart1 0x1",
            "find GigeTxStart2", "write GigeTxStart2 0x1", "find GigeTxStart3", "write GigeTxStart3 0x1"});
    EXPECT_EQ(resetWithin(board.takeJournal()), expected);
    EXPECT_THAT(takeMessages(), ElementsAre("3 PHY Id 'first': Selecting orvo board 0 port 2",
                                            "3 Resetting GigE hardware on board 0 ... ",
                                            "3 PHY Id 'first': Selected device successfully opened."));

    core::zume::OrvoGbePhysicalNetworkInterface second;
    ASSERT_TRUE(second.setup());
    EXPECT_THAT(takeMessages(), testing::SizeIs(2)) << "a board is reset once";
    port.stop(); // any interface's
    core::zume::OrvoGbePhysicalNetworkInterface third;
    ASSERT_TRUE(third.setup());
    EXPECT_THAT(takeMessages(), testing::SizeIs(3));
}

TEST_F(BoardResetTest, ForcedResetTouchesItsOwnPortOnly) {
    setUpPort();
    board.answer("MdioReadReg", {0x8001, 0x1140});
    port.forceReset();
    Journal expected = resetPulse("0xb");
    append(expected, phySequence("0x2", "0x8001", "0x1", {"0x1140"}));
    EXPECT_EQ(board.takeJournal(), expected);
    EXPECT_THAT(takeMessages(), ElementsAre("3 Resetting GigE PHY 2 on board 0 ... "));
    ASSERT_TRUE(resetting.setup());
    EXPECT_THAT(takeMessages(), testing::Contains("3 Resetting GigE hardware on board 0 ... "))
        << "a forced reset does not count as the board's";
}

TEST_F(BoardResetTest, FailedReadsFallBack) {
    setUpPort();
    board.failReads("MdioReadReg");
    port.forceReset(); // step 6 takes 0, and with the 0 written in step 8 the wait ends at once
    auto journal = board.takeJournal();
    EXPECT_EQ(std::count(journal.begin(), journal.end(), "read MdioReadReg fails"), 2);
    EXPECT_EQ(std::count(journal.begin(), journal.end(), "write GigE_Mdio 0"), 1);
    EXPECT_THAT(takeMessages(), testing::SizeIs(1));

    // With the driver class bit written, failing reads keep it, and only the bound ends the wait.
    const EnvironmentVariable mask("ORVO_GIGE_DRIVER_CLASS_PORT_MASK", "4");
    port.forceReset();
    journal = board.takeJournal();
    EXPECT_EQ(std::count(journal.begin(), journal.end(), "write GigE_Mdio 0x8000"), 1);
    EXPECT_EQ(std::count(journal.begin(), journal.end(), "read MdioReadReg fails"), 51)
        << "5 s of 100 ms rounds";
    EXPECT_THAT(takeMessages(),
                ElementsAre("3 Resetting GigE PHY 2 on board 0 ... ",
                            "4 GigE PHY 2 on board 0 still in reset after 5 seconds, going on "
                            "(result = 0x8000)"));
}

TEST_F(BoardResetTest, DriverClassMaskSetsTheBitPortByPort) {
    const std::string directory = testing::TempDir() + "orvo-reset-home";
    ASSERT_EQ(std::system(("rm -rf '" + directory + "' && mkdir '" + directory + "'").c_str()), 0);
    home.set(directory.c_str());
    const EnvironmentVariable lessWanted("ORVO_GIGE_DRIVER_CLASS_PORT_MASK", "15");
    const auto bitOfPort2 = [this] {
        port.forceReset();
        const auto journal = board.takeJournal();
        return std::count(journal.begin(), journal.end(), "write GigE_Mdio 0x8004") == 1;
    };
    setUpPort();
    board.answer("MdioReadReg", {4});
    EXPECT_TRUE(bitOfPort2()) << "from the environment";
    std::ofstream(directory + "/.config/orvo/rt.conf") << "[GIGE]\nDriverClassPortMask = 11\n";
    EXPECT_FALSE(bitOfPort2())
        << "the user's file, whose directory the reset made, goes first and is read anew";
}

TEST_F(BoardResetTest, FirmwareWithoutTheRegistersKeepsThePace) {
    for (const char* name : {"GigE_MdioRD", "GigE_MdioWR", "GigE_Mdio", "GigE_MdioRegAddr",
                             "GigE_MdioPhyAddr", "MdioReadReg", "GigE_Reset"})
        board.lack(name);
    setUpPort();
    port.forceReset();
    auto journal = board.takeJournal();
    std::erase_if(journal, [](auto& line) { return line.starts_with("find") || line.starts_with("sleep"); });
    EXPECT_THAT(journal, IsEmpty()) << "address 0 is nobody's";
}

TEST_F(BoardResetTest, SequencesOfOneBoardTakeTurnsAndTwoSetupsResetItOnce) {
    setUpPort();
    core::zume::OrvoGbePhysicalNetworkInterface other;
    other.injectDependency("portId", 1);
    bool firstReady = false, otherReady = false;
    std::thread threads[] = {std::thread([&] { firstReady = resetting.setup(); }),
                             std::thread([&] { otherReady = other.setup(); }),
                             std::thread([&] { port.forceReset(); })};
    for (auto& thread : threads) thread.join();
    EXPECT_TRUE(firstReady && otherReady);
    // Every transaction is whole: nothing else of the bus comes between its register number and its result.
    Journal bus;
    for (const auto& line : board.takeJournal())
        if (line.find("Mdio") != std::string::npos && !line.starts_with("find")) bus.push_back(line);
    int resets = 0, selections = 0;
    for (std::size_t i = 0; i < bus.size(); ++i) {
        if (bus[i].starts_with("write GigE_MdioPhyAddr")) {
            ++selections;
            continue;
        }
        ASSERT_TRUE(bus[i].starts_with("write GigE_MdioRegAddr")) << bus[i];
        const bool isRead = bus.at(i + 1) == "write GigE_MdioRD 0";
        if (!isRead) {
            ASSERT_TRUE(bus[i + 1].starts_with("write GigE_Mdio ")) << bus[i + 1];
            resets += bus[i + 1] == "write GigE_Mdio 0x9140";
        }
        ASSERT_TRUE(bus.at(i + 2).starts_with(isRead ? "read MdioReadReg" : "write GigE_MdioWR"))
            << bus[i + 2];
        i += 2;
    }
    EXPECT_EQ(resets, 5) << "four ports once, and the forced one";
    EXPECT_EQ(selections, 5);
}

TEST(PhyText, ShowsHexadecimalAndBits) {
    const auto text = [](unsigned short value) { return core::zume::PortState::phyContentToString(value); };
    EXPECT_EQ(text(0x9140), "0x9140 [ 1001_0001_0100_0000 ] ");
    EXPECT_EQ(text(0), "0x0000 [ 0000_0000_0000_0000 ] ");
    EXPECT_EQ(text(0xFFFF), "0xffff [ 1111_1111_1111_1111 ] ");
}

} // namespace
} // namespace orvo::test
