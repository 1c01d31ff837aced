// Faults: they happen as often as asked for, where asked for, and are over then.
#include "SimulatedBoard.h"

namespace {

class FaultTest : public SimulatedBoard {
protected:
    int read(unsigned queue) const {
        std::uint32_t word = 0;
        return OHalDataQueueReadBufferLong(device.handle(), queue, &word, 4, 0);
    }
    std::pair<int, std::uint64_t> readRegister(const char* name) const {
        std::uint64_t value = 77;
        const int result = OHalRegisterRead(device.handle(), device.address(name), &value);
        return {result, value};
    }
    static void push(unsigned queue, std::size_t count) {
        const std::vector<std::uint32_t> words(count, 1);
        EXPECT_EQ(orvoSimPushWords(0, queue, words.data(), count), 0);
    }
    const Device device{0};
};

TEST_F(FaultTest, ReadsFailAndThenDeliverWhatWasThere) {
    push(0, 1);
    push(9, 1);
    EXPECT_EQ(orvoSimFailReads(0, 9, -5, 3), 0);
    EXPECT_EQ(orvoSimFailReads(0, 9, -6, 2), 0); // instead of the first
    EXPECT_EQ(read(0), 4);
    EXPECT_EQ(read(9), -6);
    EXPECT_EQ(read(9), -6);
    EXPECT_EQ(read(9), 4);
    EXPECT_EQ(orvoSimFailReads(0, 0, -7, 1000), 0);
    EXPECT_EQ(read(0), -7);
    EXPECT_EQ(orvoSimFailReads(0, 0, 0, 0), 0);
    EXPECT_EQ(read(0), HalTimeout);
    EXPECT_EQ(orvoSimFailReads(0, 5, -1, 1), OrvoSimNoSuchPlace);
}

TEST_F(FaultTest, MisreportedDeliveriesAreDeliveries) {
    push(0, 3);
    EXPECT_EQ(orvoSimMisreportReads(0, 0, 2, 1), 0);
    EXPECT_EQ(read(0), 6);
    EXPECT_EQ(orvoSimMisreportReads(0, 0, -4, 1), 0);
    EXPECT_EQ(read(0), 0);
    EXPECT_EQ(read(0), 4);
    EXPECT_EQ(orvoSimMisreportReads(0, 0, 2, 1), 0);
    EXPECT_EQ(read(0), HalTimeout); // no delivery
    push(0, 1);
    EXPECT_EQ(read(0), 6);
    EXPECT_EQ(orvoSimMisreportReads(0, 4, 2, 1), OrvoSimNoSuchPlace);
}

TEST_F(FaultTest, RegistersAnswerInTheOrderAskedFor) {
    const auto usual = std::pair{0, std::uint64_t{0}};
    EXPECT_EQ(orvoSimOverrideRegister(0, "GigeTxTransferActive2", 0, 3, 2), 0);
    EXPECT_EQ(orvoSimOverrideRegister(0, "GigeTxTransferActive2", -9, 0, 1), 0);
    EXPECT_EQ(orvoSimOverrideRegister(0, "GigeTxTransferActive2", 0, 0x1FF, 1), 0);
    EXPECT_EQ(readRegister("GigeTxTransferActive1"), usual);
    EXPECT_EQ(readRegister("GigeTxTransferActive2"), (std::pair{0, std::uint64_t{3}}));
    EXPECT_EQ(readRegister("GigeTxTransferActive2"), (std::pair{0, std::uint64_t{3}}));
    EXPECT_EQ(readRegister("GigeTxTransferActive2"), (std::pair{-9, std::uint64_t{77}}));
    EXPECT_EQ(readRegister("GigeTxTransferActive2"), (std::pair{0, std::uint64_t{0x1FF}}));
    EXPECT_EQ(readRegister("GigeTxTransferActive2"), usual);
    EXPECT_EQ(orvoSimOverrideRegister(0, "MdioReadReg", -9, 0, 1000), 0);
    EXPECT_EQ(readRegister("MdioReadReg").first, -9);
    EXPECT_EQ(orvoSimOverrideRegister(0, "MdioReadReg", 0, 0, 0), 0);
    EXPECT_EQ(readRegister("MdioReadReg").first, 0);
    for (const char* name : {"MdioReadReg0", "GigeTxTransferActive", "", static_cast<const char*>(nullptr)})
        EXPECT_EQ(orvoSimOverrideRegister(0, name, 0, 0, 1), OrvoSimBadValue);
    EXPECT_EQ(orvoSimOverrideRegister(1, "GigE_TxStart", 0, 0, 1), OrvoSimBadValue);
    EXPECT_EQ(orvoSimOverrideRegister(77, "MdioReadReg", 0, 0, 1), OrvoSimNoSuchPlace);
}

TEST_F(FaultTest, OpeningAndConfiguringFail) {
    EXPECT_EQ(orvoSimFailOpen(0, 2), 0);
    EXPECT_EQ(OHalInitDevice(0), nullptr);
    EXPECT_EQ(OHalInitDevice(0), nullptr);
    EXPECT_EQ(OHalFreeDevice(OHalInitDevice(0)), 0);
    EXPECT_EQ(orvoSimFailConfigure(0, -42, 1), 0);
    EXPECT_EQ(OHalConfigureFpga(device.handle(), device.applet()), -42);
    EXPECT_EQ(OHalConfigureFpga(device.handle(), device.applet()), 0);
    EXPECT_EQ(orvoSimFailOpen(77, 1), OrvoSimNoSuchPlace);
    EXPECT_EQ(orvoSimFailConfigure(77, -1, 1), OrvoSimNoSuchPlace);
}

} // namespace
