// SPDX-License-Identifier: MIT
// Device handles, boards that come and go, and the applet runtime's register maps.
#include "SimulatedBoard.h"

namespace {

class HandleTest : public SimulatedBoard {};

/// Every call with this handle gives `result`, and nothing else.
void expectRefused(void* handle, int result) {
    void* const applet = KivFirmwareTrampoline(1, 0);
    const auto address = static_cast<std::uint32_t>(KivGetRegisterByName(applet, "GigE_Reset"));
    std::uint64_t value = 77;
    EXPECT_EQ(OHalRegisterRead(handle, address, &value), result);
    EXPECT_EQ(OHalRegisterWrite(handle, address, 15), result);
    EXPECT_EQ(OHalConfigureFpga(handle, applet), result);
    EXPECT_EQ(OHalUnloadFpga(handle), result);
    EXPECT_EQ(OHalGetBoardInfoInt(handle, "ports/gige"), result);
    EXPECT_EQ(OHalDataQueueReadBufferLong(handle, 0, &value, 4, 0), result);
    EXPECT_EQ(OHalDataQueueClear(handle, 0), result);
    EXPECT_EQ(value, 77U);
}

TEST_F(HandleTest, BadHandlesAreRefusedAndStaleOnesCounted) {
    std::vector<void*> handles;
    while (void* handle = OHalInitDevice(0)) handles.push_back(handle);
    EXPECT_EQ(handles.size(), 256U);
    for (void* handle : handles) EXPECT_EQ(OHalFreeDevice(handle), 0);
    void* const last = OHalGetDevice(0); // in the place of the first
    EXPECT_NE(last, handles[0]);
    EXPECT_EQ(OHalPutDevice(last), 0);
    const auto before = portState(0, 3).staleAccesses;
    for (void* bad :
         std::vector<void*>{nullptr, &handles, static_cast<char*>(last) + 1, handles[0], last,
                            // NOLINTNEXTLINE(performance-no-int-to-ptr): they point to nothing
                            reinterpret_cast<void*>(1), reinterpret_cast<void*>(~std::uintptr_t{0})}) {
        SCOPED_TRACE(bad);
        expectRefused(bad, OrvoSimHalBadHandle);
        EXPECT_EQ(OHalFreeDevice(bad), OrvoSimHalBadHandle);
    }
    EXPECT_EQ(portState(0, 3).staleAccesses - before, 2 * 8U); // those with the last two
}

TEST_F(HandleTest, PlacesAndPointersThatAreNotThereAreRefused) {
    const Device device(0);
    std::uint16_t value = 0;
    EXPECT_THAT(
        (std::vector{orvoSimFailOpen(77, 1), orvoSimFailConfigure(77, -1, 1), orvoSimSetBoardPresent(77, 1),
                     orvoSimOverrideRegister(77, "GigE_Reset", 0, 0, 1), orvoSimFailReads(0, 5, -1, 1),
                     orvoSimMisreportReads(0, 5, 1, 1), orvoSimReadPhy(1, 2, 0, &value),
                     inject(0, 4, frameOf(60))}),
        testing::Each(OrvoSimNoSuchPlace));
    EXPECT_THAT((std::vector{orvoSimReadPhy(0, 0, 32, &value), orvoSimInjectFrame(0, 0, nullptr, 60, 0),
                             orvoSimPushWords(0, 0, nullptr, 1), orvoSimGetWire(0, 0, nullptr, 5),
                             orvoSimSetWire(0, 0, nullptr, nullptr, 0),
                             orvoSimOverrideRegister(0, "GigeTxStart", 0, 0, 1),
                             orvoSimOverrideRegister(1, "GigE_TxStart", 0, 0, 1)}),
                testing::Each(OrvoSimBadValue));
    EXPECT_EQ(OHalRegisterRead(device.handle, device.address("GigE_Reset"), nullptr), OrvoSimHalBadArgument);
    EXPECT_EQ(OHalDataQueueReadBufferLong(device.handle, 0, nullptr, 4, 0), OrvoSimHalBadArgument);
}

TEST_F(HandleTest, BoardsTellWhatTheyAre) {
    for (int index : {-1, 5, 32}) EXPECT_EQ(OHalGetDevice(index), nullptr) << index;
    const Device older(1), other(9);
    Words numbers;
    for (const char* key : {"ports/gige", "firmware/major", "firmware/minor", "board/serial", "board/type"})
        numbers.push_back(static_cast<std::uint32_t>(OHalGetBoardInfoInt(older.handle, key)));
    EXPECT_EQ(numbers, (Words{2, 0, 9, 0xFFFF'0001, 0x0A40}));
    EXPECT_STREQ(OHalGetBoardInfoString(older.handle, "board/name"), "Older board");
    EXPECT_STREQ(OHalGetBoardInfoString(other.handle, "board/caminterface"), "CXP");
    EXPECT_EQ(OHalGetBoardIndex(other.handle, 0), 9);
}

TEST_F(HandleTest, RemovedBoardFailsEveryCallUntilItIsBack) {
    const Device device(0);
    EXPECT_EQ(orvoSimSetBoardPresent(0, 0), 0);
    expectRefused(device.handle, OrvoSimHalBoardGone);
    EXPECT_EQ(OHalInitDevice(0), nullptr);
    EXPECT_EQ(OHalGetDeviceCount(), 5);
    EXPECT_EQ(portState(0, 0).linkUp, 0);
    EXPECT_EQ(orvoSimSetBoardPresent(0, 1), 0);
    EXPECT_EQ(portState(0, 0).linkUp, 0) << "the PHYs were reset by the power-up";
    passMs(450);
    EXPECT_TRUE(device.carries(0));
}

TEST_F(HandleTest, ColdBoardNeedsItsAppletAndAStart) {
    const Device cold(2);
    EXPECT_EQ(OHalRegisterWrite(cold.handle, cold.address("GigE_Reset"), 15), OrvoSimHalNoApplet);
    EXPECT_EQ(OHalConfigureFpga(cold.handle, KivFirmwareTrampoline(0, 9)), OrvoSimHalNoApplet);
    EXPECT_EQ(OHalConfigureFpga(cold.handle, cold.applet), 0);
    EXPECT_EQ(cold.read("GigE_Reset"), 0U);
    cold.write("GigE_Reset", 15);
    passMs(450);
    for (const char* name : {"GigE_TxStart", "GigE_RxEnable", "GigeTxStart3"}) {
        EXPECT_EQ(cold.read(name), 0U) << name;
        EXPECT_FALSE(cold.carries(3)) << name;
        cold.write(name, 1);
    }
    EXPECT_EQ(OHalConfigureFpga(cold.handle, cold.applet), 0); // runs already: left alone
    EXPECT_TRUE(cold.carries(3));
    EXPECT_EQ(OHalUnloadFpga(cold.handle), 0);
    EXPECT_EQ(OHalRegisterWrite(cold.handle, cold.address("GigE_Reset"), 15), OrvoSimHalNoApplet);
    EXPECT_EQ(portState(2, 3).linkUp, 0);
}

TEST_F(HandleTest, OpeningConfiguringAndReadingFailAsAskedFor) {
    const Device device(0);
    EXPECT_EQ(orvoSimFailOpen(0, 2), 0);
    for (int i = 0; i < 2; ++i) EXPECT_EQ(OHalInitDevice(0), nullptr);
    EXPECT_EQ(orvoSimFailConfigure(0, -42, 1), 0);
    for (int result : {-42, 0}) EXPECT_EQ(OHalConfigureFpga(Device(0).handle, device.applet), result);

    const char* const name = "GigeTxTransferActive2";
    for (auto [result, value, times] : {std::tuple{0, 3U, 2U}, {-9, 0U, 1U}, {0, 0x1FFU, 1000U}})
        EXPECT_EQ(orvoSimOverrideRegister(0, name, result, value, times), 0);
    EXPECT_EQ(device.read("GigeTxTransferActive1"), 0U);
    for (auto [result, expected] : {std::pair{0, 3U}, {0, 3U}, {-9, 77U}, {0, 0x1FFU}}) {
        std::uint64_t value = 77;
        EXPECT_EQ(OHalRegisterRead(device.handle, device.address(name), &value), result);
        EXPECT_EQ(value, expected);
    }
    orvoSimOverrideRegister(0, name, 0, 0, 0); // takes the rest back
    EXPECT_EQ(device.read(name), 0U);
}

TEST_F(HandleTest, RegistersFollowTheFirmwareVersion) {
    const Device full(0), older(1); // which lacks some registers, and has two ports
    EXPECT_EQ(KivGetNrOfRegister(full.applet), 13 * 4 + 9);
    EXPECT_EQ(KivGetNrOfRegister(older.applet), 13 * 4 + 9 - 4 - 1 - 1);
    for (auto [major, minor] : {std::pair{1U, 1U}, {9U, 0U}, {257U, 0U}})
        EXPECT_EQ(KivFirmwareTrampoline(major, minor), nullptr) << major << "." << minor;
    EXPECT_EQ(full.address(KivGetRegisterName(full.applet, 60)), KivGetRegisterAddress(full.applet, 60));
    EXPECT_EQ(KivGetRegisterName(full.applet, 61), nullptr);
    EXPECT_LT(KivUnloadKivFile(full.handle), 0) << "no applet";
    for (const char* name : {"GigeWriteData", "GigeWriteData4", "GigE_Reset0", "gige_reset"})
        EXPECT_EQ(full.address(name), 0U) << name;

    const auto refuses = [](const Device& device, std::uint32_t address) {
        std::uint64_t value = 0;
        return OHalRegisterRead(device.handle, address, &value) == OrvoSimHalNoRegister &&
               OHalRegisterWrite(device.handle, address, 1) == OrvoSimHalNoRegister;
    };
    for (const char* name :
         {"ActionCmdConfigData3", "GigeTxDisableCrcGeneration1", "GigE_TxStart", "GigeRecvPktCnt2"})
        EXPECT_TRUE(refuses(older, full.address(name))) << name;
    const auto known = full.address("GigeWriteData0");
    for (std::uint32_t wrong : {0U, known + 1, known | 0x400, known | 0x2'0000, ~0U, known + 0x40})
        EXPECT_TRUE(refuses(full, wrong)) << wrong;
    for (const char* name : {"ActionCmdConfigData2", "GigeRecvPktCnt2"}) full.write(name, 0x1234'5678'9ABC);
    EXPECT_EQ(full.read("ActionCmdConfigData2"), 0x1234'5678'9ABCU);
    EXPECT_EQ(full.read("GigeRecvPktCnt2"), portState(0, 2).receivedFrames); // read only
}

} // namespace
